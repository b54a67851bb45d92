#pragma once

#include "Unreal/NameTypes.hpp"
#include "Unreal/UField.hpp"

namespace RC::Unreal {

class FProperty;

class UStruct : public UField {
public:
    // The struct's own property of that name, or null.
    FProperty* FindProperty(FName PropertyName);
};

} // namespace RC::Unreal
