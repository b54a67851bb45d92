#include "tools/session/watch/terminal.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdio>
#include <io.h>

namespace korvath::session_tool {

auto stdout_is_terminal() -> bool {
    if (_isatty(_fileno(stdout)) == 0)
        return false;
    // The view redraws itself with escape sequences, which a console shows only once asked to.
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode))
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return true;
}

auto terminal_width(std::size_t fallback) -> std::size_t {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return fallback;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return width > 0 ? static_cast<std::size_t>(width) : fallback;
}

} // namespace korvath::session_tool
