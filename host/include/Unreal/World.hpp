#pragma once

#include "Unreal/AActor.hpp"

namespace RC::Unreal {

class UWorld : public UObject {
public:
    // Spawns an actor of the class in this world; null when the engine refuses.
    auto SpawnActor(UClass* Class, const FVector* Location = nullptr, const FRotator* Rotation = nullptr)
        -> AActor*;
};

} // namespace RC::Unreal
