#pragma once
// The share of the peer's packets that did not arrive, from the gaps in their sequence numbers, over
// windows of a few seconds.

#include <chrono>
#include <cstdint>
#include <optional>

namespace korvath::session_tool {

class LossMeter {
public:
    // A packet from the peer with sequence `sequence`, received at `now`; one that arrives after a newer
    // one still counts as received, a copy of one already counted does not.
    auto add(uint64_t sequence, std::chrono::nanoseconds now) -> void;
    auto clear() -> void { *this = {}; }
    // The loss of the last complete window, 0 to 1; nothing before one has completed.
    auto loss() const -> std::optional<double> { return m_loss; }

private:
    std::optional<uint64_t> m_first; // the sequence before the window's first packet
    uint64_t m_last = 0;
    uint64_t m_seen = 0; // bit i: m_last - i was received
    uint64_t m_received = 0;
    std::chrono::nanoseconds m_windowStart{};
    std::optional<double> m_loss;
};

} // namespace korvath::session_tool
