#pragma once

#include <cstdint>

namespace RC::Unreal {

class UObject;
struct FUObjectItem;

// Refers to an object by its index in the engine's object array and that slot's serial number;
// Get() yields null once the slot holds another object, or the object is being destroyed.
struct FWeakObjectPtr {
private:
    int32_t ObjectIndex{};
    int32_t ObjectSerialNumber{};

    auto InternalGetObjectItem() const -> FUObjectItem*;
    auto InternalGet(bool bEvenIfPendingKill) const -> UObject*;
    auto Reset() -> void;

public:
    auto operator=(UObject*) -> void;

    auto SerialNumbersMatch(FUObjectItem*) const -> bool;
    auto Get() const -> UObject*;
};

} // namespace RC::Unreal
