#include "tools/session/net/loss_meter.hpp"

namespace korvath::session_tool {

namespace {

constexpr std::chrono::nanoseconds kWindow = std::chrono::seconds(3);

} // namespace

auto LossMeter::add(uint64_t sequence, std::chrono::nanoseconds now) -> void {
    if (!m_first) {
        m_first = m_last = sequence;
        m_received = 0;
        m_windowStart = now;
        return;
    }
    if (sequence <= *m_first)
        return; // from before this window, already counted
    ++m_received;
    if (sequence <= m_last)
        return;
    m_last = sequence;
    if (now - m_windowStart < kWindow)
        return;
    const uint64_t sent = m_last - *m_first;
    m_loss = sent == 0 ? 0.0 : 1.0 - static_cast<double>(m_received) / static_cast<double>(sent);
    m_first = m_last;
    m_received = 0;
    m_windowStart = now;
}

} // namespace korvath::session_tool
