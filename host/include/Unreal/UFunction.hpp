#pragma once

#include "Unreal/UStruct.hpp"

namespace RC::Unreal {

class UFunction : public UStruct {};

} // namespace RC::Unreal
