#pragma once
// Liveness of the proxy. proxyActor is a plain reference, and the engine may destroy the actor on its
// own (its world torn down, a map change) and later free it, so the reference is never used before the
// engine confirms the actor: not freed (the engine's delete notification) and not being destroyed (its
// slot's validity). Game thread only.

#include "Unreal/AActor.hpp"

namespace korvath {

// Points proxyActor at `actor` and watches it; null clears it. Either way the actor is no leftover.
auto set_proxy_actor(RC::Unreal::AActor* actor) -> void;

// A leftover is the actor of a failed spawn that the engine refused to destroy: still referenced, never
// moved, destroyed by the next SyncProxy or DestroyProxy that can.
auto mark_proxy_leftover() -> void;
auto is_proxy_leftover() -> bool;

// proxyActor while the engine still holds it; null when there is no proxy or it has vanished.
auto live_proxy_actor() -> RC::Unreal::AActor*;

// Clears proxyActive when the engine has removed the proxy on its own, so the reports stop claiming it
// at once rather than when the next command comes (none comes while the remote player is stale). The
// reference stays: the next SyncProxy or DestroyProxy accounts for the vanished proxy as before.
auto note_vanished_proxy() -> void;

} // namespace korvath
