#pragma once
// Engine objects as the mod sees them. The engine owns every object and keeps its data; an object here
// carries no data of its own, as in the host, where members are reached through the engine's layout.
// The host has UObjectBaseUtility between the two classes; the mod uses none of its members.

#include <cstdint>
#include <string>

namespace RC::Unreal {

struct FUObjectItem;
class UFunction;

class UObjectBase {
public:
    // The object's slot in the engine's object array, and that slot.
    auto GetInternalIndex() const -> int32_t;
    auto GetObjectItem() -> FUObjectItem*;
};

class UObject : public UObjectBase {
public:
    // "<ClassName> <path>"; goes through the engine, so it may fail like any engine call.
    auto GetFullName(UObject* StopOuter = nullptr) const -> std::wstring;
    // Calls an engine function on this object with its parameter block, through the engine's
    // ProcessEvent (so ProcessEvent pre-callbacks run first).
    void ProcessEvent(UFunction* Function, void* Parms);
};

} // namespace RC::Unreal
