#include "actions/proxy_handle.hpp"

#include "mod/session_state.hpp"

#include "Unreal/UObjectArray.hpp"

#include <atomic>

namespace korvath {

namespace {

bool proxyLeftover = false;

// The engine tells every delete listener of each object its garbage collection frees, before the
// object's memory or its slot in the object array go to a new object. So a proxy that the engine freed is
// known as such even when a new object has taken both its address and its slot, which no look at the
// object array could tell apart. (The host's weak reference cannot either: it yields nothing for an
// actor the engine gave no serial number, and the host never allocates one.) Listeners may be called off
// the game thread, hence the atomics.
class ProxyDeleteListener final : public RC::Unreal::FUObjectDeleteListener {
public:
    void NotifyUObjectDeleted(const RC::Unreal::UObjectBase* object, int32_t) override {
        if (object != nullptr && object == watched.load(std::memory_order_acquire))
            freed.store(true, std::memory_order_release);
    }
    void OnUObjectArrayShutdown() override {}

    std::atomic<const RC::Unreal::UObjectBase*> watched{nullptr};
    std::atomic<bool> freed{false};
};

// Registered once and never removed: it lives as long as the library, which stays loaded for the rest
// of the process once the ProcessEvent callback is registered.
ProxyDeleteListener proxyDeleteListener;
bool proxyDeleteListenerAdded = false;

} // namespace

auto set_proxy_actor(RC::Unreal::AActor* actor) -> void {
    if (actor != nullptr && !proxyDeleteListenerAdded) {
        RC::Unreal::UObjectArray::AddUObjectDeleteListener(&proxyDeleteListener);
        proxyDeleteListenerAdded = true;
    }
    proxyDeleteListener.freed.store(false, std::memory_order_release);
    proxyDeleteListener.watched.store(actor, std::memory_order_release);
    proxyActor = actor;
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
    if (proxyActor == nullptr || proxyDeleteListener.freed.load(std::memory_order_acquire))
        return nullptr;
    // Not freed, so its memory is still its own: ask whether it is being destroyed.
    return RC::Unreal::UObjectArray::IsValid(proxyActor->GetObjectItem(), false) ? proxyActor : nullptr;
}

} // namespace korvath
