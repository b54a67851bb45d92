#pragma once

#include "Unreal/UObject.hpp"
#include "Unreal/UnrealCoreStructs.hpp"

namespace RC::Unreal {

class UWorld : public UObject {
public:
    // Spawns an actor of the class in this world; null when the engine refuses.
    class AActor* SpawnActor(UClass* InClass, struct FVector const* Location = nullptr,
                             struct FRotator const* Rotation = nullptr);
};

} // namespace RC::Unreal
