#pragma once

namespace RC::Unreal {

class UObject;
class UClass;
class ObjectSearcher;

namespace UObjectGlobals {
// First object whose class (or a parent class) has this short name, or null.
auto FindFirstOf(const wchar_t* ClassName) -> UObject*;
// Object by its path name, or null.
UObject* FindObject(UClass* Class, UObject* InOuter, const wchar_t* InName, bool bExactClass = false,
                    ObjectSearcher* = nullptr);
} // namespace UObjectGlobals

} // namespace RC::Unreal
