#pragma once

#include "Unreal/UStruct.hpp"

namespace RC::Unreal {

class UScriptStruct : public UStruct {};

} // namespace RC::Unreal
