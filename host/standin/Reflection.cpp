#include "Reflection.hpp"

#include "Unreal/FProperty.hpp"
#include "Unreal/NameTypes.hpp"
#include "Unreal/Property/FStructProperty.hpp"
#include "Unreal/UScriptStruct.hpp"
#include "Unreal/UnrealVersion.hpp"

#include <array>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace standin {

namespace {

using RC::Unreal::FName;
using RC::Unreal::FProperty;
using RC::Unreal::FStructProperty;
using RC::Unreal::UFunction;
using RC::Unreal::UScriptStruct;
using RC::Unreal::UStruct;

// The engine's name table; index 0 is "None".
struct NameTable {
    std::mutex mutex;
    std::vector<std::wstring> names{L"None"};
};

auto name_table() -> NameTable& {
    static NameTable table;
    return table;
}

enum Property : std::size_t {
    NewLocation,
    NewRotation,
    bSweep,
    SweepHitResult,
    bTeleport,
    ReturnValue,
    X,
    Y,
    Z,
    Pitch,
    Yaw,
    Roll,
    kPropertyCount
};

constexpr const wchar_t* kPropertyNames[kPropertyCount] = {
    L"NewLocation", L"NewRotation", L"bSweep", L"SweepHitResult", L"bTeleport", L"ReturnValue",
    L"X",           L"Y",           L"Z",      L"Pitch",          L"Yaw",       L"Roll"};

// Offsets and element sizes before engine 5.0 and from 5.0 on (FHitResult: 0x88 and 0xE8 bytes).
int32_t gOffsets[2][kPropertyCount] = {{0, 12, 24, 28, 164, 165, 0, 4, 8, 0, 4, 8},
                                       {0, 24, 48, 56, 288, 289, 0, 8, 16, 0, 8, 16}};
int32_t gSizes[2][kPropertyCount] = {{12, 12, 1, 136, 1, 1, 4, 4, 4, 4, 4, 4},
                                     {24, 24, 1, 232, 1, 1, 8, 8, 8, 8, 8, 8}};
uint16_t gParmsSizes[2] = {168, 296};

struct Objects {
    UFunction function;
    UScriptStruct vector;
    UScriptStruct rotator;
    UScriptStruct hitResult;
    std::array<FStructProperty, kPropertyCount> properties;
    std::array<UScriptStruct*, kPropertyCount> structOf{};
    std::array<FName, kPropertyCount> names;

    Objects() {
        structOf[NewLocation] = &vector;
        structOf[NewRotation] = &rotator;
        structOf[SweepHitResult] = &hitResult;
        for (std::size_t i = 0; i < kPropertyCount; ++i)
            names[i] = FName(kPropertyNames[i], RC::Unreal::FNAME_Add);
    }
};

auto objects() -> Objects& {
    static Objects all;
    return all;
}

auto era() -> std::size_t {
    return RC::Unreal::Version::IsBelow(5, 0) ? 0 : 1;
}

auto index_of(const FProperty* property) -> std::size_t {
    return static_cast<std::size_t>(static_cast<const FStructProperty*>(property) -
                                    objects().properties.data());
}

auto read_component(const unsigned char* at) -> double {
    if (era() == 0) {
        float value;
        std::memcpy(&value, at, sizeof value);
        return static_cast<double>(value);
    }
    double value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

} // namespace

auto find_reflected(std::wstring_view path) -> RC::Unreal::UObject* {
    Objects& all = objects();
    if (path == kSetActorLocationAndRotation)
        return &all.function;
    if (path == L"/Script/CoreUObject.Vector")
        return &all.vector;
    if (path == L"/Script/CoreUObject.Rotator")
        return &all.rotator;
    return nullptr;
}

auto set_actor_location_and_rotation() -> UFunction* {
    return &objects().function;
}

auto read_move_parameters(const void* parms) -> MoveParameters {
    const auto* block = static_cast<const unsigned char*>(parms);
    const std::size_t e = era();
    MoveParameters read;
    for (std::size_t i = 0; i < 3; ++i) {
        read.location[i] = read_component(block + gOffsets[e][NewLocation] + gOffsets[e][X + i]);
        read.rotation[i] = read_component(block + gOffsets[e][NewRotation] + gOffsets[e][Pitch + i]);
    }
    return read;
}

auto write_move_result(void* parms, bool moved) -> void {
    static_cast<bool*>(parms)[gOffsets[era()][ReturnValue]] = moved;
}

} // namespace standin

namespace RC::Unreal {

FName::FName(const wchar_t* StrName, EFindName FindType, void*) {
    standin::NameTable& table = standin::name_table();
    std::lock_guard lock(table.mutex);
    for (std::size_t i = 0; i < table.names.size(); ++i)
        if (table.names[i] == StrName) {
            ComparisonIndex = static_cast<uint32_t>(i);
            return;
        }
    if (FindType == FNAME_Add) {
        ComparisonIndex = static_cast<uint32_t>(table.names.size());
        table.names.emplace_back(StrName);
    }
}

auto FProperty::GetOffset_Internal() -> int32_t& {
    return standin::gOffsets[standin::era()][standin::index_of(this)];
}

auto FProperty::GetElementSize() -> int32_t& {
    return standin::gSizes[standin::era()][standin::index_of(this)];
}

auto FStructProperty::GetStruct() -> UScriptStruct*& {
    return standin::objects().structOf[standin::index_of(this)];
}

FProperty* UStruct::FindProperty(FName PropertyName) {
    standin::Objects& all = standin::objects();
    std::size_t first = 0, last = 0;
    if (this == &all.function)
        first = standin::NewLocation, last = standin::ReturnValue + 1;
    else if (this == &all.vector)
        first = standin::X, last = standin::Z + 1;
    else if (this == &all.rotator)
        first = standin::Pitch, last = standin::Roll + 1;
    for (std::size_t i = first; i < last; ++i)
        if (all.names[i] == PropertyName)
            return &all.properties[i];
    return nullptr;
}

auto UFunction::GetParmsSize() -> uint16_t& {
    return standin::gParmsSizes[standin::era()];
}

} // namespace RC::Unreal
