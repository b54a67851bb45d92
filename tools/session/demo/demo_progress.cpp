#include "tools/session/demo/demo_progress.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace {

constexpr std::string_view kClearLine = "\r\x1b[2K";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::string_view kSpinner = "|/-\\";
// Into a pipe, an unchanged phase is printed again after this long.
constexpr std::chrono::seconds kPipeRepeat{4};

} // namespace

DemoProgress::DemoProgress(std::ostream& out, bool terminal, std::size_t width, Clock::time_point start)
    : m_out(out)
    , m_terminal(terminal)
    , m_width(width)
    , m_start(start) {}

auto DemoProgress::stamp(Clock::time_point now) const -> std::string {
    char text[24];
    std::snprintf(text, sizeof text, "[%5.1f s] ", std::chrono::duration<double>(now - m_start).count());
    return text;
}

auto DemoProgress::clear_live_line() -> void {
    if (m_terminal && !m_live.empty())
        m_out << kClearLine;
}

auto DemoProgress::event(std::string_view text, Clock::time_point now) -> void {
    clear_live_line();
    m_out << stamp(now) << text << "\n";
    if (m_terminal && !m_live.empty())
        m_out << m_live;
    m_out << std::flush;
}

auto DemoProgress::status(std::string_view phase, std::string_view detail, Clock::time_point now) -> void {
    const bool newPhase = phase != m_phase;
    m_phase = std::string(phase);
    if (!m_terminal) {
        if (newPhase || now - m_lastPrinted >= kPipeRepeat) {
            m_out << stamp(now) << "  " << phase << ": " << detail << "\n" << std::flush;
            m_lastPrinted = now;
        }
        return;
    }
    m_spin = (m_spin + 1) % (kSpinner.size() * 2);
    std::string visible =
        stamp(now) + kSpinner[m_spin / 2] + " " + std::string(phase) + ": " + std::string(detail);
    if (visible.size() > m_width - 1)
        visible.resize(m_width - 1);
    const std::size_t phaseStart = visible.find(phase, stamp(now).size());
    std::string live = visible;
    if (phaseStart != std::string::npos && phaseStart + phase.size() <= visible.size())
        live = visible.substr(0, phaseStart) + std::string(kBold) + visible.substr(phaseStart, phase.size()) +
               std::string(kPlain) + visible.substr(phaseStart + phase.size());
    if (live == m_live)
        return;
    m_out << kClearLine << live << std::flush;
    m_live = std::move(live);
}

auto DemoProgress::line(std::string_view text) -> void {
    finish();
    m_out << text << "\n" << std::flush;
}

auto DemoProgress::finish() -> void {
    clear_live_line();
    m_live.clear();
    m_out << std::flush;
}

} // namespace korvath::session_tool
