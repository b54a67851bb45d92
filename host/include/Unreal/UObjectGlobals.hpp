#pragma once

#include "Constructs/Loop.hpp"

#include <cstdint>
#include <functional>

namespace RC::Unreal {

class UObject;
class UClass;
class ObjectSearcher;

namespace UObjectGlobals {
// Calls Callable(object, index, chunk) for each object in the slots [Start, End) of the engine's object
// array, skipping empty slots and objects the garbage collector found unreachable.
auto ForEachUObjectInRange(int32_t Start, int32_t End,
                           const std::function<LoopAction(UObject*, int32_t, int32_t)>& Callable) -> void;
// An object whose class, or failing that a parent class, has this short name; class default objects
// and archetypes never match. Scans the object array in slot order.
auto FindFirstOf(const wchar_t* ClassName) -> UObject*;
// Object by its path name, or null.
UObject* FindObject(UClass* Class, UObject* InOuter, const wchar_t* InName, bool bExactClass = false,
                    ObjectSearcher* = nullptr);
} // namespace UObjectGlobals

} // namespace RC::Unreal
