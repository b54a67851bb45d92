#pragma once

namespace RC::Unreal {

class UObject;
class UClass;
class ObjectSearcher;

namespace UObjectGlobals {
// An object whose class, or failing that a parent class, has this short name; class default objects
// and archetypes never match. Scans the object array in slot order.
auto FindFirstOf(const wchar_t* ClassName) -> UObject*;
// Object by its path name, or null.
UObject* FindObject(UClass* Class, UObject* InOuter, const wchar_t* InName, bool bExactClass = false,
                    ObjectSearcher* = nullptr);
} // namespace UObjectGlobals

} // namespace RC::Unreal
