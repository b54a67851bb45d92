#pragma once
// Tells the simulator's threads to stop, and wakes them from their sleep when it does.

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace korvath::sim {

using SteadyClock = std::chrono::steady_clock;

class StopFlag {
public:
    auto request_stop() -> void {
        {
            std::lock_guard lock(m_mutex);
            m_stopped = true;
        }
        m_wake.notify_all();
    }

    // Sleeps until `deadline` (absolute, so periodic loops do not drift); false once a stop was requested.
    auto sleep_until(SteadyClock::time_point deadline) -> bool {
        std::unique_lock lock(m_mutex);
        return !m_wake.wait_until(lock, deadline, [this] { return m_stopped; });
    }

    auto stopped() -> bool {
        std::lock_guard lock(m_mutex);
        return m_stopped;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopped{false};
};

} // namespace korvath::sim
