#pragma once

#include <cstdint>

namespace RC::Unreal {

class UObject;

// Refers to an object by index and serial number; Get() yields null once the engine has
// destroyed the object, so a stale reference is never dereferenced.
class FWeakObjectPtr {
public:
    FWeakObjectPtr() = default;
    explicit FWeakObjectPtr(const UObject* Object);

    auto Get() const -> UObject*;
    auto Reset() -> void { m_index = -1, m_serial = 0; }

private:
    int32_t m_index{-1};
    int32_t m_serial{};
};

} // namespace RC::Unreal
