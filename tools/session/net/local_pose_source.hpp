#pragma once
// The pose this side sends: its game's local_state.tsv, read by the relay's rules, with the time the
// pose was taken on this side's clock (from the row's sample stamp, or else the file's last write).

#include "tools/session/link/local_state_watch.hpp"
#include "tools/session/link/relay_link.hpp"
#include "tools/session/link/sample_clock.hpp"
#include "tools/session/net/packet.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

class LocalPoseSource {
public:
    LocalPoseSource(std::filesystem::path gameDir, std::string playerId, std::string displayName);

    // The pose to send at `now` (monotonic clock; `fileNow` on the file clock): nothing while the local
    // state is missing, older than 3 s or invalid (see outcome()).
    auto read(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now)
        -> std::optional<PosePayload>;
    auto outcome() const -> RelayOutcome { return m_outcome; }

private:
    RelayLink m_link;
    LocalStateWatch m_watch;
    SampleClock m_clock;
    std::optional<SampleStamp> m_lastStamp;
    std::optional<std::filesystem::file_time_type> m_lastWrite;
    std::chrono::nanoseconds m_takenAt{};
    RelayOutcome m_outcome = RelayOutcome::Missing;
};

} // namespace korvath::session_tool
