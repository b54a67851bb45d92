#pragma once
// A reflected member of an engine struct or a parameter of an engine function. Its fields live in the
// engine's layout; the host reads them through accessors generated per engine version.

#include <cstdint>

namespace RC::Unreal {

class FProperty {
public:
    // Bytes from the start of the owning struct or parameter block, and the size of one element.
    auto GetOffset_Internal() -> int32_t&;
    auto GetElementSize() -> int32_t&;
};

} // namespace RC::Unreal
