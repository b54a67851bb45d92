#include "DynamicOutput/Output.hpp"

namespace RC::Output {

auto OutputDevice::has_optional_arg() const -> bool {
    return false;
}

auto OutputDevice::receive_with_optional_arg(std::wstring_view fmt, int32_t) const -> void {
    receive(fmt);
}

auto DefaultTargets::get_default_devices_ref() -> OutputDevicesContainerType& {
    static OutputDevicesContainerType devices;
    return devices;
}

} // namespace RC::Output
