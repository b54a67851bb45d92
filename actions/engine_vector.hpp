#pragma once
// Engine vectors in the running engine's layout: doubles from engine 5.0 on, floats before.

#include "Unreal/UnrealCoreStructs.hpp"

#include <array>

namespace korvath {

auto engine_uses_double_vectors() -> bool;
auto make_engine_vector(double x, double y, double z) -> RC::Unreal::FVector;
auto read_engine_vector(const RC::Unreal::FVector& vector) -> std::array<double, 3>;

} // namespace korvath
