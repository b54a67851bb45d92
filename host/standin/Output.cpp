#include "DynamicOutput/Output.hpp"

namespace RC::Output {

OutputDevice::~OutputDevice() = default;

auto OutputDevice::has_optional_arg() const -> bool {
    return false;
}

auto OutputDevice::receive_with_optional_arg(std::wstring_view line, int32_t) const -> void {
    receive(line);
}

auto DefaultTargets::get_default_devices_ref() -> std::vector<std::unique_ptr<OutputDevice>>& {
    static std::vector<std::unique_ptr<OutputDevice>> devices;
    return devices;
}

} // namespace RC::Output
