#pragma once
// When the game thread last moved the local pawn. A tracker that reads the pawn stamps its sample with
// this time rather than its own: the pose it reads is that frame's, up to one frame old.

#include "tools/sim/stop_flag.hpp"

#include <atomic>
#include <optional>

namespace korvath::sim {

class FrameClock {
public:
    auto mark(SteadyClock::time_point frame) -> void {
        m_frame.store(frame.time_since_epoch().count(), std::memory_order_release);
    }

    // Reads a pose with the time of the frame it belongs to: `read` runs again when a frame ended
    // meanwhile. Nothing when no frame has moved the pawn yet.
    template <typename Read>
    auto stamped(Read&& read) const -> std::optional<SteadyClock::time_point> {
        for (int attempt = 0; attempt < 3; ++attempt) {
            const auto before = m_frame.load(std::memory_order_acquire);
            read();
            if (before == m_frame.load(std::memory_order_acquire))
                return before == kNever
                           ? std::nullopt
                           : std::optional(SteadyClock::time_point(SteadyClock::duration(before)));
        }
        return std::nullopt;
    }

private:
    static constexpr SteadyClock::rep kNever = SteadyClock::rep{-1};
    std::atomic<SteadyClock::rep> m_frame{kNever};
};

} // namespace korvath::sim
