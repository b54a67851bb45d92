#pragma once

#include "Unreal/UnrealVersion.hpp"

#include <cstdint>
#include <cstring>

namespace RC::Unreal {

// An engine rotation in degrees: 24 bytes, floats before engine 5.0, doubles from 5.0 on.
struct FRotator {
    FRotator() = default;
    FRotator(double Pitch, double Yaw, double Roll) {
        SetComponent(0, Pitch);
        SetComponent(1, Yaw);
        SetComponent(2, Roll);
    }

    auto GetPitch() const -> double { return GetComponent(0); }
    auto GetYaw() const -> double { return GetComponent(1); }
    auto GetRoll() const -> double { return GetComponent(2); }

private:
    auto SetComponent(int Index, double Value) -> void {
        if (Version::IsBelow(5, 0)) {
            const auto Narrow = static_cast<float>(Value);
            std::memcpy(Data + Index * sizeof(float), &Narrow, sizeof Narrow);
        } else {
            std::memcpy(Data + Index * sizeof(double), &Value, sizeof Value);
        }
    }
    auto GetComponent(int Index) const -> double {
        if (Version::IsBelow(5, 0)) {
            float Narrow;
            std::memcpy(&Narrow, Data + Index * sizeof(float), sizeof Narrow);
            return static_cast<double>(Narrow);
        }
        double Value;
        std::memcpy(&Value, Data + Index * sizeof(double), sizeof Value);
        return Value;
    }

    uint8_t Data[sizeof(double) * 3]{};
};
static_assert(sizeof(FRotator) == 24);

} // namespace RC::Unreal
