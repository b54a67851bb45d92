// The RC::Unreal API of the host, backed by the simulated engine.

#include "Engine.hpp"

#include "Unreal/FWeakObjectPtr.hpp"
#include "Unreal/UObjectGlobals.hpp"
#include "Unreal/UnrealVersion.hpp"

#include <cstring>

namespace RC::Unreal {

int32_t Version::Major = 5;
int32_t Version::Minor = 1;

UObject::~UObject() = default;

auto UObject::GetFullName(UObject*) const -> std::wstring {
    return standin::engine().full_name(this);
}

auto AActor::GetWorld() const -> UWorld* {
    return standin::engine().world_of(this);
}

auto AActor::K2_SetActorLocationAndRotation(FVector NewLocation, FRotator NewRotation, bool, FHitResult&,
                                            bool) -> bool {
    return standin::engine().move(this, NewLocation, NewRotation);
}

auto AActor::SetActorHiddenInGame(bool bNewHidden) -> void {
    standin::engine().set_flag(this, standin::Op::Hidden, bNewHidden);
}

auto AActor::SetActorEnableCollision(bool bNewActorEnableCollision) -> void {
    standin::engine().set_flag(this, standin::Op::Collision, bNewActorEnableCollision);
}

auto AActor::SetActorTickEnabled(bool bEnabled) -> void {
    standin::engine().set_flag(this, standin::Op::Tick, bEnabled);
}

auto AActor::K2_DestroyActor() -> void {
    standin::engine().destroy(this);
}

auto UWorld::SpawnActor(UClass* Class, const FVector* Location, const FRotator* Rotation) -> AActor* {
    return standin::engine().spawn(this, Class, Location, Rotation);
}

auto UObjectGlobals::FindFirstOf(const wchar_t* ClassName) -> UObject* {
    return standin::engine().find_first_of(ClassName);
}

auto UObjectGlobals::FindObject(UClass*, UObject*, const wchar_t* Name, bool, ObjectSearcher*) -> UObject* {
    return standin::engine().find_object(Name);
}

FWeakObjectPtr::FWeakObjectPtr(const UObject* Object) {
    if (Object) {
        m_index = Object->GetInternalIndex();
        m_serial = standin::engine().serial_of(Object);
    }
}

auto FWeakObjectPtr::Get() const -> UObject* {
    return standin::engine().resolve_weak(m_index, m_serial);
}

namespace {
auto rotator_uses_doubles() -> bool {
    return Version::Major >= 5;
}
} // namespace

FRotator::FRotator()
    : FRotator(0.0, 0.0, 0.0) {}

FRotator::FRotator(double pitch, double yaw, double roll) {
    if (rotator_uses_doubles()) {
        const double values[3] = {pitch, yaw, roll};
        std::memcpy(m_bytes, values, sizeof values);
    } else {
        const float values[3] = {static_cast<float>(pitch), static_cast<float>(yaw),
                                 static_cast<float>(roll)};
        std::memcpy(m_bytes, values, sizeof values);
    }
}

namespace {
auto rotator_component(const unsigned char* bytes, int index) -> double {
    if (rotator_uses_doubles()) {
        double value;
        std::memcpy(&value, bytes + index * 8, sizeof value);
        return value;
    }
    float value;
    std::memcpy(&value, bytes + index * 4, sizeof value);
    return static_cast<double>(value);
}
} // namespace

auto FRotator::GetPitch() const -> double {
    return rotator_component(m_bytes, 0);
}
auto FRotator::GetYaw() const -> double {
    return rotator_component(m_bytes, 1);
}
auto FRotator::GetRoll() const -> double {
    return rotator_component(m_bytes, 2);
}

auto Hook::RegisterProcessEventPreCallback(const ProcessEventCallback& Callback) -> void {
    standin::engine().register_pre_callback(Callback);
}

} // namespace RC::Unreal
