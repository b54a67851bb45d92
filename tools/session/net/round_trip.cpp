#include "tools/session/net/round_trip.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kLongest = std::chrono::seconds(5);
constexpr nanoseconds kWindow = std::chrono::seconds(10);
constexpr int kSmoothing = 8; // each new value moves the smoothed one by an eighth

auto lower(const std::optional<nanoseconds>& current, nanoseconds value) -> nanoseconds {
    return current ? std::min(*current, value) : value;
}

} // namespace

auto RoundTrip::add(nanoseconds sentAt, nanoseconds held, nanoseconds now) -> void {
    const nanoseconds value = now - sentAt - held;
    if (value < nanoseconds(0) || value > kLongest)
        return;
    m_smoothed = m_smoothed ? *m_smoothed + (value - *m_smoothed) / kSmoothing : value;
    if (!m_shortestNow || now - m_windowStart > kWindow) {
        m_shortestLast = m_shortestNow;
        m_shortestNow.reset();
        m_windowStart = now;
    }
    m_shortestNow = lower(m_shortestNow, value);
}

auto RoundTrip::shortest() const -> std::optional<nanoseconds> {
    if (!m_shortestNow)
        return m_shortestLast;
    return m_shortestLast ? std::min(*m_shortestLast, *m_shortestNow) : m_shortestNow;
}

} // namespace korvath::session_tool
