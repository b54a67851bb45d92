#pragma once
// The engine's reflection data for the one engine function the stand-in runs through a parameter block,
// AActor's K2_SetActorLocationAndRotation: the function, its parameters, and the Vector and Rotator
// structs, laid out as the running engine version lays them out (floats before 5.0, doubles from 5.0 on).
// Like the engine's native functions, these objects live for the whole process.

#include "Unreal/UFunction.hpp"
#include "Unreal/UObject.hpp"

#include <string_view>

namespace standin {

inline constexpr std::wstring_view kSetActorLocationAndRotation =
    L"/Script/Engine.Actor:K2_SetActorLocationAndRotation";

// A reflected function or struct by its path, or null.
auto find_reflected(std::wstring_view path) -> RC::Unreal::UObject*;
auto set_actor_location_and_rotation() -> RC::Unreal::UFunction*;

// K2_SetActorLocationAndRotation's parameter block read as the engine reads it.
struct MoveParameters {
    double location[3]{};
    double rotation[3]{}; // pitch, yaw, roll
};
auto read_move_parameters(const void* parms) -> MoveParameters;
auto write_move_result(void* parms, bool moved) -> void;

} // namespace standin
