#pragma once

#include "Unreal/UObject.hpp"

namespace RC::Unreal {

class UField : public UObject {};

} // namespace RC::Unreal
