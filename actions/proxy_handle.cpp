#include "actions/proxy_handle.hpp"

#include "mod/session_state.hpp"

#include "Constructs/Loop.hpp"
#include "Unreal/UObjectArray.hpp"
#include "Unreal/UObjectGlobals.hpp"

#include <cstdint>

namespace korvath {

RC::Unreal::FWeakObjectPtr proxyActorHandle;

namespace {

bool proxyLeftover = false;
// The host's weak reference copies the slot's serial number without allocating one, and the engine
// allocates one only when something of its own weak-references the actor: a new actor may have none,
// and then the weak reference never yields it.
bool proxyHandleHasSerial = false;
int32_t proxyActorIndex = -1;

// Whether the object array's slot still holds this very actor, neither collected nor being destroyed.
// The actor is dereferenced only once its slot shows it is still allocated.
auto slot_holds(RC::Unreal::AActor* actor, int32_t index) -> bool {
    RC::Unreal::UObject* inSlot = nullptr;
    RC::Unreal::UObjectGlobals::ForEachUObjectInRange(
        index, index + 1, [&inSlot](RC::Unreal::UObject* object, int32_t, int32_t) {
            inSlot = object;
            return RC::LoopAction::Break;
        });
    return inSlot == actor && RC::Unreal::UObjectArray::IsValid(actor->GetObjectItem(), false);
}

} // namespace

auto set_proxy_actor(RC::Unreal::AActor* actor) -> void {
    proxyActor = actor;
    proxyActorHandle = actor;
    proxyActorIndex = actor != nullptr ? actor->GetInternalIndex() : -1;
    proxyHandleHasSerial = actor != nullptr && proxyActorHandle.Get() == actor;
    proxyLeftover = false;
}

auto mark_proxy_leftover() -> void {
    proxyLeftover = true;
}

auto is_proxy_leftover() -> bool {
    return proxyLeftover;
}

auto note_vanished_proxy() -> void {
    if (proxyActor != nullptr && !proxyLeftover && proxyActive.load() && live_proxy_actor() == nullptr)
        proxyActive.exchange(false);
}

auto live_proxy_actor() -> RC::Unreal::AActor* {
    if (proxyActor == nullptr)
        return nullptr;
    if (proxyHandleHasSerial)
        return proxyActorHandle.Get() == proxyActor ? proxyActor : nullptr;
    return slot_holds(proxyActor, proxyActorIndex) ? proxyActor : nullptr;
}

} // namespace korvath
