#pragma once
// Console lines through the host's default output devices.

#include "DynamicOutput/Output.hpp"

#include <string>
#include <string_view>

namespace korvath {

// Sends one line to every default device in list order; a device that takes the extra integer gets
// `level`. Nothing is sent, and nothing thrown, when the list is empty; a null device met while
// sending throws std::runtime_error, as the host's own Output::send does.
auto log_to_console(std::wstring_view line, int32_t level = RC::LogLevel::Default) -> void;

// Formats `format` with one wide argument ("{}", {fmt} syntax) once per device, then sends it as above.
auto log_to_console(std::wstring_view format, std::wstring_view argument) -> void;

} // namespace korvath
