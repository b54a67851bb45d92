#pragma once

#include <cstdint>
#include <string_view>

namespace RC {

namespace Color {
enum Color { Default, NoColor, Cyan, Yellow, Red, Green, Blue, Purple };
} // namespace Color

namespace LogLevel {
enum LogLevel {
    Default = Color::Default,
    Normal = Color::NoColor,
    Verbose = Color::Cyan,
    Warning = Color::Yellow,
    Error = Color::Red,
};
} // namespace LogLevel

namespace Output {

class OutputDevice {
public:
    virtual ~OutputDevice() = default;

    // True when the device wants the extra integer (the log level) with each line.
    virtual auto has_optional_arg() const -> bool;
    virtual auto receive(std::wstring_view fmt) const -> void = 0;
    virtual auto receive_with_optional_arg(std::wstring_view fmt, int32_t optional_arg = 0) const -> void;
    virtual auto lock() const -> void {}
    virtual auto unlock() const -> void {}
};

} // namespace Output
} // namespace RC
