#pragma once
// A monotonic clock that tests and the simulator step by hand. A mod library built with the driven
// clock reads its time here instead of from the operating system.

#include <atomic>
#include <cstdint>

namespace standin {

class Clock {
public:
    static auto instance() -> Clock&;

    auto now_ns() const -> int64_t { return m_now.load(std::memory_order_acquire); }
    auto set_ns(int64_t now) -> void { m_now.store(now, std::memory_order_release); }
    auto advance_ns(int64_t delta) -> void { m_now.fetch_add(delta, std::memory_order_acq_rel); }

    // Far from 0, since 0 means "not set" to the mod's timestamps.
    static constexpr int64_t kStart = 1'000'000'000'000;

private:
    std::atomic<int64_t> m_now{kStart};
};

inline auto clock() -> Clock& {
    return Clock::instance();
}

} // namespace standin
