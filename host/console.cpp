#include "host/console.hpp"

// KORVATH_STD_FORMAT: built against a host that has no {fmt} and formats with std::format itself.
#ifdef KORVATH_STD_FORMAT
#include <format>
#else
#include <fmt/xchar.h>
#endif

#include <stdexcept>

namespace korvath {

namespace {

constexpr const char* kNoDevicesError =
    "[Output::send] Attempted to send but there were no default devices. Please specify at least one "
    "default device or construct a Targets object and supply your own devices.";

template <typename MakeLine>
auto send_to_devices(int32_t level, MakeLine&& make_line) -> void {
    auto& devices = RC::Output::DefaultTargets::get_default_devices_ref();
    if (devices.empty())
        return;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const auto& device = devices[i];
        if (!device)
            throw std::runtime_error(kNoDevicesError);
        if (device->has_optional_arg())
            device->receive_with_optional_arg(make_line(), level);
        else
            device->receive(make_line());
    }
    if (devices.empty())
        throw std::runtime_error(kNoDevicesError);
}

} // namespace

auto log_to_console(std::wstring_view line, int32_t level) -> void {
    send_to_devices(level, [line] { return line; });
}

auto log_to_console(std::wstring_view format, std::wstring_view argument) -> void {
    std::wstring formatted;
    send_to_devices(RC::LogLevel::Default, [&]() -> std::wstring_view {
#ifdef KORVATH_STD_FORMAT
        formatted = std::vformat(format, std::make_wformat_args(argument));
#else
        formatted =
            fmt::vformat(fmt::wstring_view(format.data(), format.size()), fmt::make_wformat_args(argument));
#endif
        return formatted;
    });
}

} // namespace korvath
