#pragma once

#include <cstdint>

namespace RC::Unreal {

enum EFindName {
    FNAME_Find,
    FNAME_Add,
    FNAME_Replace_Not_Safe_For_Threading,
};

// A name in the engine's name table: equal names compare equal by index.
class FName {
public:
    FName() = default;
    // FNAME_Find gives the empty name when the table does not hold `StrName`.
    explicit FName(const wchar_t* StrName, EFindName FindType = FNAME_Find,
                   void* FunctionAddressOverride = nullptr);

    auto operator==(FName other) const -> bool {
        return (ComparisonIndex == other.ComparisonIndex) & (Number == other.Number);
    }
    [[nodiscard]] auto GetComparisonIndex() const -> uint32_t { return ComparisonIndex; }

private:
    uint32_t ComparisonIndex{};
    uint32_t Number{};
};

} // namespace RC::Unreal
