#pragma once
// Engine objects as the mod sees them. The engine owns every object and keeps its data; a UObject here
// carries no data of its own, as in the host, where members are reached through the engine's layout.
// The host splits these members over UObjectBase, UObjectBaseUtility and UObject.

#include <cstdint>
#include <string>

namespace RC::Unreal {

struct FUObjectItem;

class UObject {
public:
    // The object's slot in the engine's object array, and that slot.
    auto GetInternalIndex() const -> int32_t;
    auto GetObjectItem() -> FUObjectItem*;
    // "<ClassName> <path>"; goes through the engine, so it may fail like any engine call.
    auto GetFullName(UObject* StopOuter = nullptr) const -> std::wstring;
};

} // namespace RC::Unreal
