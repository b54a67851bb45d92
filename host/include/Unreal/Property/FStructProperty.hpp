#pragma once

#include "Unreal/FProperty.hpp"

namespace RC::Unreal {

class UScriptStruct;

class FStructProperty : public FProperty {
public:
    auto GetStruct() -> UScriptStruct*&;
};

} // namespace RC::Unreal
