#pragma once

#include <string_view>

namespace korvath {

// Sets testFailed, replaces cpp_phase5g_error.txt with the message and a line feed, and sends the
// error line to the console. Game thread. Throws whatever the console output throws.
auto write_error_report(std::string_view message) -> void;

} // namespace korvath
