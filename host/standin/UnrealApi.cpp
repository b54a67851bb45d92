// The RC::Unreal API of the host, backed by the simulated engine.

#include "Engine.hpp"

#include "Unreal/FProperty.hpp"
#include "Unreal/FWeakObjectPtr.hpp"
#include "Unreal/Property/FStructProperty.hpp"
#include "Unreal/UObjectArray.hpp"
#include "Unreal/UObjectGlobals.hpp"
#include "Unreal/UScriptStruct.hpp"
#include "Unreal/UnrealVersion.hpp"

#include <cstring>
#include <stdexcept>

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

// As the host's wrapper: the parameters found through the engine's reflection data, the location copied
// in the engine's vector layout, the rotation's components written as floats on every engine version.
auto AActor::K2_SetActorLocationAndRotation(FVector NewLocation, FRotator NewRotation, bool bSweep,
                                            FHitResult&, bool bTeleport) -> bool {
    auto* Function = static_cast<UFunction*>(
        UObjectGlobals::FindObject(nullptr, nullptr, L"/Script/Engine.Actor:K2_SetActorLocationAndRotation"));
    if (!Function)
        throw std::runtime_error{"Unable to find '/Script/Engine.Actor:K2_SetActorLocationAndRotation'"};
    alignas(16) uint8_t ParamData[512];
    const uint16_t ParamStructSize = Function->GetParmsSize();
    if (ParamStructSize > sizeof ParamData)
        throw std::runtime_error{"standin: parameter block too large"};
    std::memset(ParamData, 0, ParamStructSize);
    const auto property = [&](UStruct* Owner, const wchar_t* Name) -> FProperty* {
        FProperty* Found = Owner->FindProperty(FName(Name));
        if (!Found)
            throw std::runtime_error{"Property not found"};
        return Found;
    };
    const auto copy_inner = [&](const wchar_t* Outer, const wchar_t* Inner, auto Value) {
        auto* OuterProperty = static_cast<FStructProperty*>(property(Function, Outer));
        FProperty* InnerProperty = property(OuterProperty->GetStruct(), Inner);
        std::memcpy(&ParamData[OuterProperty->GetOffset_Internal() + InnerProperty->GetOffset_Internal()],
                    &Value, sizeof Value);
    };
    const wchar_t* const Axes[3] = {L"X", L"Y", L"Z"};
    for (int i = 0; i < 3; ++i) {
        if (Version::IsBelow(5, 0)) {
            float Component;
            std::memcpy(&Component, NewLocation.Data + i * sizeof(float), sizeof Component);
            copy_inner(L"NewLocation", Axes[i], Component);
        } else {
            double Component;
            std::memcpy(&Component, NewLocation.Data + i * sizeof(double), sizeof Component);
            copy_inner(L"NewLocation", Axes[i], Component);
        }
    }
    copy_inner(L"NewRotation", L"Pitch", static_cast<float>(NewRotation.GetPitch()));
    copy_inner(L"NewRotation", L"Yaw", static_cast<float>(NewRotation.GetYaw()));
    copy_inner(L"NewRotation", L"Roll", static_cast<float>(NewRotation.GetRoll()));
    ParamData[property(Function, L"bSweep")->GetOffset_Internal()] = bSweep;
    ParamData[property(Function, L"bTeleport")->GetOffset_Internal()] = bTeleport;
    ProcessEvent(Function, ParamData);
    return ParamData[property(Function, L"ReturnValue")->GetOffset_Internal()] != 0;
}

void UObject::ProcessEvent(UFunction* Function, void* Parms) {
    standin::engine().call_function(this, Function, Parms);
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
