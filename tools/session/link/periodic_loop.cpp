#include "tools/session/link/periodic_loop.hpp"

#include <algorithm>
#include <csignal>
#include <thread>

namespace korvath::session_tool {

namespace {

volatile std::sig_atomic_t stopSignal = 0;

extern "C" void on_stop_signal(int) {
    stopSignal = 1;
}

// Sleeps are cut into slices so that a stop is noticed within this time.
constexpr std::chrono::milliseconds kStopCheckSlice{20};

} // namespace

auto install_stop_handlers() -> void {
    std::signal(SIGINT, on_stop_signal);
    std::signal(SIGTERM, on_stop_signal);
}

auto stop_requested() -> bool {
    return stopSignal != 0;
}

auto run_periodically(std::chrono::nanoseconds period, std::optional<std::chrono::nanoseconds> limit,
                      const std::function<void()>& tick) -> void {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto end = limit ? start + *limit : Clock::time_point::max();
    auto next = start;
    while (!stop_requested()) {
        tick();
        next += period;
        auto now = Clock::now();
        if (next < now)
            next = now;
        if (next >= end)
            next = end;
        while (!stop_requested() && (now = Clock::now()) < next)
            std::this_thread::sleep_for(std::min<Clock::duration>(next - now, kStopCheckSlice));
        if (Clock::now() >= end)
            return;
    }
}

} // namespace korvath::session_tool
