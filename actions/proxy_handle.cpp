#include "actions/proxy_handle.hpp"

#include "mod/session_state.hpp"

namespace korvath {

RC::Unreal::FWeakObjectPtr proxyActorHandle;

namespace {
bool proxyLeftover = false;
} // namespace

auto set_proxy_actor(RC::Unreal::AActor* actor) -> void {
    proxyActor = actor;
    proxyActorHandle = actor;
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
    if (proxyActor == nullptr || proxyActorHandle.Get() != proxyActor)
        return nullptr;
    return proxyActor;
}

} // namespace korvath
