#pragma once
// The round trip to the peer, from the sent times the peer echoes back: a smoothed value for the
// status, and the shortest of the recent ones, whose half is taken as the network's one-way delay when
// placing the peer's poses on this side's clock (the clock offset is found from the fastest packets).

#include <chrono>
#include <optional>

namespace korvath::session_tool {

class RoundTrip {
public:
    // An echo of this side's packet sent at `sentAt`, held `held` by the peer, received at `now`.
    // Values below zero or above five seconds are ignored.
    auto add(std::chrono::nanoseconds sentAt, std::chrono::nanoseconds held, std::chrono::nanoseconds now)
        -> void;
    auto clear() -> void { *this = {}; }

    auto smoothed() const -> std::optional<std::chrono::nanoseconds> { return m_smoothed; }
    // The shortest round trip of the last window (about ten seconds).
    auto shortest() const -> std::optional<std::chrono::nanoseconds>;

private:
    std::optional<std::chrono::nanoseconds> m_smoothed;
    std::optional<std::chrono::nanoseconds> m_shortestNow;  // in the window being filled
    std::optional<std::chrono::nanoseconds> m_shortestLast; // in the window before it
    std::chrono::nanoseconds m_windowStart{};
};

} // namespace korvath::session_tool
