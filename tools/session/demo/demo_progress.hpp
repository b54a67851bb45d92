#pragma once
// The demo's display: a line per event, stamped with the seconds since the start, and one live line
// for the current phase. On a terminal the live line is redrawn in place under the events; into a
// pipe or file it is printed now and then, so a log still shows progress.

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace korvath::session_tool {

class DemoProgress {
public:
    using Clock = std::chrono::steady_clock;

    // `width`: the terminal's columns; the live line is cut to fit them.
    DemoProgress(std::ostream& out, bool terminal, std::size_t width, Clock::time_point start);

    // A line that stays: "[  9.7 s] text".
    auto event(std::string_view text, Clock::time_point now) -> void;
    // The current phase and what it waits for; shown at once when the phase changes.
    auto status(std::string_view phase, std::string_view detail, Clock::time_point now) -> void;
    // Plain lines after the live display has ended (the summary).
    auto line(std::string_view text) -> void;
    // Ends the live line.
    auto finish() -> void;

private:
    auto stamp(Clock::time_point now) const -> std::string;
    auto clear_live_line() -> void;

    std::ostream& m_out;
    bool m_terminal;
    std::size_t m_width;
    Clock::time_point m_start;
    std::string m_phase;
    std::string m_live; // what the terminal shows on the live line
    Clock::time_point m_lastPrinted{};
    std::size_t m_spin = 0;
};

} // namespace korvath::session_tool
