#pragma once

#include "Unreal/FHitResult.hpp"
#include "Unreal/Rotator.hpp"
#include "Unreal/UObject.hpp"
#include "Unreal/UnrealCoreStructs.hpp"

namespace RC::Unreal {

class UWorld;

class AActor : public UObject {
public:
    auto GetWorld() -> UWorld*;

    // The calls below run through the engine's ProcessEvent, so ProcessEvent pre-callbacks run
    // (re-entrantly) inside them.
    auto K2_DestroyActor() -> void;
    auto K2_SetActorLocationAndRotation(FVector NewLocation, FRotator NewRotation, bool bSweep,
                                        FHitResult& SweepHitResult, bool bTeleport) -> bool;
    auto SetActorEnableCollision(bool bNewActorEnableCollision) -> void;
    auto SetActorHiddenInGame(bool bNewHidden) -> void;
    auto SetActorTickEnabled(bool bEnabled) -> void;
};

} // namespace RC::Unreal
