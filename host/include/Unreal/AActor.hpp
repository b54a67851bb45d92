#pragma once

#include "Unreal/FRotator.hpp"
#include "Unreal/FVector.hpp"
#include "Unreal/UObject.hpp"

namespace RC::Unreal {

class UWorld;

class AActor : public UObject {
public:
    auto GetWorld() const -> UWorld*;
    // The four calls below run through the engine's ProcessEvent, so ProcessEvent
    // pre-callbacks run (re-entrantly) inside them.
    auto K2_SetActorLocationAndRotation(FVector NewLocation, FRotator NewRotation, bool bSweep,
                                        FHitResult& SweepHitResult, bool bTeleport) -> bool;
    auto SetActorHiddenInGame(bool bNewHidden) -> void;
    auto SetActorEnableCollision(bool bNewActorEnableCollision) -> void;
    auto SetActorTickEnabled(bool bEnabled) -> void;
    auto K2_DestroyActor() -> void;

private:
    friend class ::standin::Engine;
    UWorld* m_world{};
    double m_location[3]{};
    double m_rotation[3]{};
    bool m_hidden{};
    bool m_collision{true};
    bool m_tick{true};
    bool m_alive{true};
    bool m_spawned{};
};

} // namespace RC::Unreal
