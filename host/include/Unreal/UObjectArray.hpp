#pragma once

#include <cstdint>

namespace RC::Unreal {

class UObject;

// One slot of the engine's object array.
struct FUObjectItem {
    auto GetUObject() const -> UObject*;
};

class UObjectArray {
public:
    // Whether the slot holds an object that is neither unreachable nor, unless bEvenIfPendingKill,
    // being destroyed.
    static auto IsValid(FUObjectItem* ObjectItem, bool bEvenIfPendingKill) -> bool;
};

} // namespace RC::Unreal
