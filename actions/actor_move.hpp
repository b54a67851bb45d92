#pragma once
// Moving an actor with the engine's K2_SetActorLocationAndRotation so that the rotation arrives whole on
// every engine version.

#include "Unreal/AActor.hpp"
#include "Unreal/Rotator.hpp"
#include "Unreal/UnrealCoreStructs.hpp"

namespace korvath {

// K2_SetActorLocationAndRotation(location, rotation, sweep false, a scratch hit result, teleport true):
// true when the engine moved the actor. Throws what the engine call throws. Game thread only.
auto move_actor(RC::Unreal::AActor* actor, const RC::Unreal::FVector& location,
                const RC::Unreal::FRotator& rotation) -> bool;

} // namespace korvath
