#include "tools/session/net/loss_meter.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

constexpr std::chrono::nanoseconds kWindow = std::chrono::seconds(3);
constexpr uint64_t kSeenBits = 64; // how far back a late packet is told from a copy

} // namespace

auto LossMeter::add(uint64_t sequence, std::chrono::nanoseconds now) -> void {
    if (!m_first) {
        m_first = m_last = sequence;
        m_seen = 1;
        m_received = 0;
        m_windowStart = now;
        return;
    }
    if (sequence <= *m_first)
        return; // from before this window, already counted
    if (sequence <= m_last) {
        const uint64_t back = m_last - sequence;
        if (back >= kSeenBits || (m_seen >> back & 1U) != 0)
            return; // a copy, or too late to tell from one
        m_seen |= uint64_t{1} << back;
        ++m_received;
        return;
    }
    const uint64_t ahead = sequence - m_last;
    m_seen = (ahead >= kSeenBits ? 0 : m_seen << ahead) | 1U;
    m_last = sequence;
    ++m_received;
    if (now - m_windowStart < kWindow)
        return;
    const uint64_t sent = m_last - *m_first;
    m_loss =
        sent == 0 ? 0.0 : 1.0 - static_cast<double>(std::min(m_received, sent)) / static_cast<double>(sent);
    m_first = m_last;
    m_received = 0;
    m_windowStart = now;
}

} // namespace korvath::session_tool
