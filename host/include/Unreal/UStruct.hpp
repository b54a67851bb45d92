#pragma once

#include "Unreal/UField.hpp"

namespace RC::Unreal {

class UStruct : public UField {};

} // namespace RC::Unreal
