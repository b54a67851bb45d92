#pragma once

namespace RC::Unreal {

// Out-argument of moves with sweep; an empty placeholder in the host too.
struct FHitResult {
    FHitResult() = default;
};

} // namespace RC::Unreal
