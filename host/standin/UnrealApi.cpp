// The RC::Unreal API of the host, backed by the simulated engine.

#include "Engine.hpp"

#include "Unreal/FWeakObjectPtr.hpp"
#include "Unreal/UObjectArray.hpp"
#include "Unreal/UObjectGlobals.hpp"
#include "Unreal/UnrealVersion.hpp"

namespace RC::Unreal {

int32_t Version::Major = 5;
int32_t Version::Minor = 1;

auto UObjectBase::GetInternalIndex() const -> int32_t {
    return standin::engine().index_of(static_cast<const UObject*>(this));
}

auto UObjectBase::GetObjectItem() -> FUObjectItem* {
    return standin::engine().item_of(static_cast<const UObject*>(this));
}

auto FUObjectItem::GetUObject() const -> UObject* {
    return standin::engine().object_in(this, true);
}

auto UObjectArray::IsValid(FUObjectItem* ObjectItem, bool bEvenIfPendingKill) -> bool {
    return standin::engine().object_in(ObjectItem, bEvenIfPendingKill) != nullptr;
}

void UObjectArray::AddUObjectDeleteListener(FUObjectDeleteListener* Listener) {
    standin::engine().add_delete_listener(Listener);
}

auto UObject::GetFullName(UObject*) const -> std::wstring {
    return standin::engine().full_name(this);
}

auto AActor::GetWorld() -> UWorld* {
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

AActor* UWorld::SpawnActor(UClass* InClass, FVector const* Location, FRotator const* Rotation) {
    return standin::engine().spawn(this, InClass, Location, Rotation);
}

auto UObjectGlobals::FindFirstOf(const wchar_t* ClassName) -> UObject* {
    return standin::engine().find_first_of(ClassName);
}

UObject* UObjectGlobals::FindObject(UClass*, UObject*, const wchar_t* InName, bool, ObjectSearcher*) {
    return standin::engine().find_object(InName);
}

auto FWeakObjectPtr::Reset() -> void {
    ObjectIndex = -1;
    ObjectSerialNumber = 0;
}

auto FWeakObjectPtr::operator=(UObject* NewObject) -> void {
    if (!NewObject) {
        Reset();
        return;
    }
    ObjectIndex = NewObject->GetInternalIndex();
    ObjectSerialNumber = standin::engine().serial_of(NewObject);
}

auto FWeakObjectPtr::Get() const -> UObject* {
    return standin::engine().resolve_weak(ObjectIndex, ObjectSerialNumber);
}

auto Hook::RegisterProcessEventPreCallback(ProcessEventCallback Callback) -> void {
    standin::engine().register_pre_callback(Callback);
}

} // namespace RC::Unreal
