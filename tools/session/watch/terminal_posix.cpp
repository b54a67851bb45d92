#include "tools/session/watch/terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

namespace korvath::session_tool {

auto stdout_is_terminal() -> bool {
    return isatty(STDOUT_FILENO) != 0;
}

auto terminal_width(std::size_t fallback) -> std::size_t {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return fallback;
    return size.ws_col;
}

} // namespace korvath::session_tool
