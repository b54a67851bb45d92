#pragma once

#include "Unreal/UStruct.hpp"

#include <cstdint>

namespace RC::Unreal {

class UFunction : public UStruct {
public:
    // The size of the function's parameter block: parameters, out parameters and return value.
    auto GetParmsSize() -> uint16_t&;
};

} // namespace RC::Unreal
