#pragma once

#include "Unreal/UStruct.hpp"

namespace RC::Unreal {

class UClass : public UStruct {};

} // namespace RC::Unreal
