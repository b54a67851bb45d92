#include "actions/actor_move.hpp"

#include "host/console.hpp"

#include "Unreal/FHitResult.hpp"
#include "Unreal/FProperty.hpp"
#include "Unreal/NameTypes.hpp"
#include "Unreal/Property/FStructProperty.hpp"
#include "Unreal/UFunction.hpp"
#include "Unreal/UObjectGlobals.hpp"
#include "Unreal/UScriptStruct.hpp"
#include "Unreal/UnrealVersion.hpp"

#include <cstdint>
#include <cstring>
#include <optional>

namespace korvath {

namespace {

using RC::Unreal::AActor;
using RC::Unreal::FName;
using RC::Unreal::FProperty;
using RC::Unreal::FRotator;
using RC::Unreal::FStructProperty;
using RC::Unreal::FVector;
using RC::Unreal::UFunction;
using RC::Unreal::UStruct;

// Larger than the engine's block for this function (0xA8 bytes before 5.0, 0x128 from 5.0 on).
constexpr std::size_t kParameterBlockBytes = 1024;

// Where the engine function's parameters lie in its parameter block, found once through the engine's
// reflection data. The function is native: it lives as long as the process, and so do its properties.
struct MoveFunction {
    UFunction* function{};
    FProperty* location{};
    FProperty* rotation{};
    FProperty* locationAxes[3]{};
    FProperty* rotationAxes[3]{}; // pitch, yaw, roll
    FProperty* sweep{};
    FProperty* teleport{};
    FProperty* returnValue{};
};

auto find_inner(FProperty* outer, const wchar_t* name) -> FProperty* {
    UStruct* type =
        outer ? static_cast<UStruct*>(static_cast<FStructProperty*>(outer)->GetStruct()) : nullptr;
    return type ? type->FindProperty(FName(name)) : nullptr;
}

auto resolve_move_function() -> MoveFunction {
    MoveFunction found;
    found.function = static_cast<UFunction*>(RC::Unreal::UObjectGlobals::FindObject(
        nullptr, nullptr, L"/Script/Engine.Actor:K2_SetActorLocationAndRotation", false, nullptr));
    if (found.function == nullptr)
        return found;
    found.location = found.function->FindProperty(FName(L"NewLocation"));
    found.rotation = found.function->FindProperty(FName(L"NewRotation"));
    found.sweep = found.function->FindProperty(FName(L"bSweep"));
    found.teleport = found.function->FindProperty(FName(L"bTeleport"));
    found.returnValue = found.function->FindProperty(FName(L"ReturnValue"));
    const wchar_t* const axes[3] = {L"X", L"Y", L"Z"};
    const wchar_t* const angles[3] = {L"Pitch", L"Yaw", L"Roll"};
    for (int i = 0; i < 3; ++i) {
        found.locationAxes[i] = find_inner(found.location, axes[i]);
        found.rotationAxes[i] = find_inner(found.rotation, angles[i]);
    }
    return found;
}

// Writes `value` at the property's place in the block in the property's own width; false when it does
// not fit there or the width is not one of a float's or a double's.
auto put_component(uint8_t* block, std::size_t size, FProperty* outer, FProperty* inner, double value)
    -> bool {
    if (outer == nullptr || inner == nullptr)
        return false;
    const int64_t at = int64_t{outer->GetOffset_Internal()} + inner->GetOffset_Internal();
    const int32_t width = inner->GetElementSize();
    if (at < 0 || (width != 4 && width != 8) || at + width > static_cast<int64_t>(size))
        return false;
    if (width == 4) {
        const auto narrow = static_cast<float>(value);
        std::memcpy(block + at, &narrow, sizeof narrow);
    } else {
        std::memcpy(block + at, &value, sizeof value);
    }
    return true;
}

auto flag_at(std::size_t size, FProperty* property) -> int64_t {
    if (property == nullptr)
        return -1;
    const int64_t at = property->GetOffset_Internal();
    return at >= 0 && at < static_cast<int64_t>(size) ? at : -1;
}

// The call through the engine function's own parameter block; nothing when the block cannot be laid
// out from what the engine's reflection data says.
auto move_through_parameters(AActor* actor, const FVector& location, const FRotator& rotation)
    -> std::optional<bool> {
    static MoveFunction move = resolve_move_function();
    if (move.function == nullptr)
        move = resolve_move_function(); // not there yet at the first call: look again
    if (move.function == nullptr)
        return std::nullopt;
    const std::size_t size = move.function->GetParmsSize();
    if (size > kParameterBlockBytes)
        return std::nullopt;
    alignas(16) uint8_t block[kParameterBlockBytes];
    std::memset(block, 0, size);
    double coordinates[3];
    std::memcpy(coordinates, location.Data, sizeof coordinates); // doubles from engine 5.0 on
    const double angles[3] = {rotation.GetPitch(), rotation.GetYaw(), rotation.GetRoll()};
    bool laidOut = true;
    for (int i = 0; i < 3; ++i) {
        laidOut &= put_component(block, size, move.location, move.locationAxes[i], coordinates[i]);
        laidOut &= put_component(block, size, move.rotation, move.rotationAxes[i], angles[i]);
    }
    const int64_t sweep = flag_at(size, move.sweep);
    const int64_t teleport = flag_at(size, move.teleport);
    const int64_t result = flag_at(size, move.returnValue);
    if (!laidOut || sweep < 0 || teleport < 0 || result < 0)
        return std::nullopt;
    block[sweep] = 0;
    block[teleport] = 1;
    actor->ProcessEvent(move.function, block);
    return block[result] != 0;
}

} // namespace

auto move_actor(AActor* actor, const FVector& location, const FRotator& rotation) -> bool {
    // The host's wrapper writes the rotator's components as floats on every engine version; from 5.0 on
    // they are doubles, and the engine would read a yaw of about zero. There the call is made through the
    // parameter block itself. Before 5.0 the wrapper is right and is used as it is.
    if (!RC::Unreal::Version::IsBelow(5, 0)) {
        if (const auto moved = move_through_parameters(actor, location, rotation))
            return *moved;
        static bool told = false;
        if (!told) {
            told = true;
            log_to_console(
                L"[KorvathOnlineCpp] K2_SetActorLocationAndRotation's parameters could not be "
                L"laid out; moving through the host's wrapper, whose rotation may arrive wrong.\n");
        }
    }
    RC::Unreal::FHitResult scratch{};
    return actor->K2_SetActorLocationAndRotation(location, rotation, false, scratch, true);
}

} // namespace korvath
