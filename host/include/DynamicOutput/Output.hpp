#pragma once
// The host's console output: a process-wide list of default devices that every line goes to.

#include "DynamicOutput/OutputDevice.hpp"

#include <memory>
#include <vector>

namespace RC::Output {

using OutputDevicesContainerType = std::vector<std::unique_ptr<OutputDevice>>;

class DefaultTargets {
public:
    static auto get_default_devices_ref() -> OutputDevicesContainerType&;
};

} // namespace RC::Output
