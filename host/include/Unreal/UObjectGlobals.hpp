#pragma once

#include "Unreal/UObject.hpp"

namespace RC::Unreal {

class ObjectSearcher;

namespace UObjectGlobals {
// First live object whose class has this short name, or null.
auto FindFirstOf(const wchar_t* ClassName) -> UObject*;
// Object by its path name, or null.
auto FindObject(UClass* Class, UObject* InOuter, const wchar_t* Name, bool ExactClass = false,
                ObjectSearcher* Searcher = nullptr) -> UObject*;
} // namespace UObjectGlobals

} // namespace RC::Unreal
