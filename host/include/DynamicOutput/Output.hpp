#pragma once
// The host's console output: a process-wide list of default devices that every line goes to.

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace RC {

namespace LogLevel {
enum LogLevel : int32_t { Default = 0, Normal = 1, Verbose = 2, Warning = 3, Error = 4 };
}

namespace Output {

class OutputDevice {
public:
    virtual ~OutputDevice();
    // True when the device wants the extra integer (the log level) with each line.
    virtual auto has_optional_arg() const -> bool;
    virtual auto receive(std::wstring_view line) const -> void = 0;
    virtual auto receive_with_optional_arg(std::wstring_view line, int32_t optional_arg = 0) const -> void;
    virtual auto lock() const -> void {}
    virtual auto unlock() const -> void {}
};

class DefaultTargets {
public:
    static auto get_default_devices_ref() -> std::vector<std::unique_ptr<OutputDevice>>&;
};

} // namespace Output
} // namespace RC
