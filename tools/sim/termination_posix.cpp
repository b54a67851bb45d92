#include "tools/sim/termination.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

namespace korvath::sim {

namespace {

auto termination_set() -> sigset_t {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

auto signal_name(int signal) -> std::string {
    return signal == SIGINT ? "SIGINT" : "SIGTERM";
}

} // namespace

auto prepare_termination_for_copy() -> void {}

auto block_termination_signals() -> void {
    // An inherited "ignore" (a background job of a shell ignores SIGINT) would discard the signal.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t set = termination_set();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

auto wait_for_termination(std::optional<double> seconds) -> std::string {
    const sigset_t set = termination_set();
    if (!seconds) {
        for (;;) {
            const int signal = sigwaitinfo(&set, nullptr);
            if (signal > 0)
                return signal_name(signal);
        }
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(*seconds);
    for (;;) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero())
            return "end of --duration";
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
        const timespec timeout{static_cast<time_t>(ns / 1'000'000'000),
                               static_cast<long>(ns % 1'000'000'000)};
        const int signal = sigtimedwait(&set, nullptr, &timeout);
        if (signal > 0)
            return signal_name(signal);
    }
}

} // namespace korvath::sim
