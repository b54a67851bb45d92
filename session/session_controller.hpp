#pragma once

#include <cstdint>

namespace korvath {

// The update hook's timestamps: nanoseconds of the monotonic clock, 0 = not set. Only the update
// thread touches them.
struct SessionTimestamps {
    int64_t lastHeartbeatAt{};
    int64_t lastRemotePollAt{};
    int64_t lastStatusReportAt{};
    int64_t enableWaitStartedAt{};
    int64_t clientBWaitStartedAt{};
    int64_t lastRemoteFreshAt{};
    int64_t lastSyncPostedAt{};
};

// One call of the update hook at monotonic time `now`. Update thread only.
auto run_host_tick(SessionTimestamps& stamps, int64_t now) -> void;

} // namespace korvath
