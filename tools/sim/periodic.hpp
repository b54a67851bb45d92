#pragma once
// A loop that runs at a fixed rate on absolute deadlines until a stop is requested.

#include "tools/sim/stop_flag.hpp"

namespace korvath::sim {

// Calls `step()` at once and then every `period` until `stop` is requested. After a stall of more than
// `maxBacklog` the schedule restarts from now instead of running the missed steps in a burst.
template <typename Step>
auto run_every(SteadyClock::duration period, StopFlag& stop, Step&& step,
               SteadyClock::duration maxBacklog = std::chrono::milliseconds(100)) -> void {
    auto next = SteadyClock::now();
    for (;;) {
        step();
        next += period;
        const auto now = SteadyClock::now();
        if (next < now - maxBacklog)
            next = now;
        if (!stop.sleep_until(next))
            return;
    }
}

inline auto to_duration(double seconds) -> SteadyClock::duration {
    return std::chrono::duration_cast<SteadyClock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace korvath::sim
