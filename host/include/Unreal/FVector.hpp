#pragma once
// An engine vector: 24 bytes whose layout depends on the running engine (three doubles from
// engine 5.0 on, three floats and twelve zero bytes before). Callers fill the bytes themselves.

#include <cstddef>

namespace RC::Unreal {

struct alignas(8) FVector {
    unsigned char Bytes[24]{};
};
static_assert(sizeof(FVector) == 24);

// Out-argument of moves with sweep; never read by the mod.
struct FHitResult {
    unsigned char Bytes[256]{};
};

} // namespace RC::Unreal
