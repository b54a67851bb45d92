#pragma once
// Engine objects as the mod sees them. The engine owns every object; the mod holds plain pointers
// and, where an object may disappear under it, weak pointers (FWeakObjectPtr).

#include <cstdint>
#include <string>

namespace standin {
class Engine;
}

namespace RC::Unreal {

class UClass;

class UObject {
public:
    UObject(const UObject&) = delete;
    UObject& operator=(const UObject&) = delete;
    virtual ~UObject();

    // "<ClassName> <path>"; goes through the engine, so it may fail like any engine call.
    auto GetFullName(UObject* StopOuter = nullptr) const -> std::wstring;
    auto GetName() const -> std::wstring { return m_name; }
    auto GetPathName() const -> std::wstring { return m_path; }
    auto GetClassPrivate() const -> UClass* { return m_class; }
    auto GetInternalIndex() const -> int32_t { return m_index; }

protected:
    UObject() = default;

private:
    friend class ::standin::Engine;
    std::wstring m_name;
    std::wstring m_path;
    UClass* m_class{};
    int32_t m_index{-1};
    int32_t m_serial{};
};

class UClass : public UObject {};
class UFunction : public UObject {};

} // namespace RC::Unreal
