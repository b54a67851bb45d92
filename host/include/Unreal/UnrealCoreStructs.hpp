#pragma once

#include "Unreal/UnrealVersion.hpp"

#include <cstdint>
#include <cstring>

namespace RC::Unreal {

// An engine vector: 24 bytes whose layout follows the running engine (three doubles from engine 5.0
// on, three floats and twelve unused bytes before).
struct FVector {
    uint8_t Data[sizeof(double) * 3]{};

    FVector() = default;
    FVector(double X_, double Y_, double Z_) {
        if (Version::IsBelow(5, 0)) {
            const float values[3] = {static_cast<float>(X_), static_cast<float>(Y_), static_cast<float>(Z_)};
            std::memcpy(Data, values, sizeof values);
        } else {
            const double values[3] = {X_, Y_, Z_};
            std::memcpy(Data, values, sizeof values);
        }
    }
};
static_assert(sizeof(FVector) == 24);

} // namespace RC::Unreal
