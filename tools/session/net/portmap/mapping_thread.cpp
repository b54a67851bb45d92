#include "tools/session/net/portmap/mapping_thread.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

using Clock = std::chrono::steady_clock;

auto clock_now() -> std::chrono::nanoseconds {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch());
}

} // namespace

MappingThread::MappingThread(MappingKeeper keeper)
    : m_keeper(std::move(keeper))
    , m_shared(m_keeper.view())
    , m_thread([this] { run(); }) {}

MappingThread::~MappingThread() {
    stop();
}

auto MappingThread::view() const -> MappingView {
    const std::lock_guard lock(m_mutex);
    return m_shared;
}

auto MappingThread::stop() -> void {
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

auto MappingThread::run() -> void {
    std::unique_lock lock(m_mutex);
    while (!m_stop) {
        lock.unlock();
        const auto due = m_keeper.step(clock_now(), clock_now);
        lock.lock();
        m_shared = m_keeper.view();
        // Waits until due, woken early by stop(); a wait of at most a minute keeps the loop bounded.
        const auto wait = std::min(due - clock_now(), std::chrono::nanoseconds(std::chrono::minutes(1)));
        m_wake.wait_for(lock, wait, [this] { return m_stop; });
    }
    lock.unlock();
    m_keeper.finish();
    lock.lock();
    m_shared = m_keeper.view();
}

} // namespace korvath::session_tool
