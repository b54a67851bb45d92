#pragma once

#include <cstdint>

namespace RC::Unreal {

class UObject;
class UObjectBase;

// Told of every object the engine frees (its garbage collection), before its slot and memory are reused.
class FUObjectDeleteListener {
public:
    virtual ~FUObjectDeleteListener() = default;
    virtual void NotifyUObjectDeleted(const class UObjectBase* Object, int32_t Index) = 0;
    virtual void OnUObjectArrayShutdown() = 0;
};

// One slot of the engine's object array.
struct FUObjectItem {
    auto GetUObject() const -> UObject*;
};

class UObjectArray {
public:
    // Whether the slot holds an object that is neither unreachable nor, unless bEvenIfPendingKill,
    // being destroyed.
    static auto IsValid(FUObjectItem* ObjectItem, bool bEvenIfPendingKill) -> bool;
    static void AddUObjectDeleteListener(FUObjectDeleteListener* Listener);
};

} // namespace RC::Unreal
