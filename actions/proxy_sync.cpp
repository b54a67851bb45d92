#include "actions/proxy_sync.hpp"

#include "actions/actor_move.hpp"
#include "actions/engine_vector.hpp"
#include "actions/proxy_handle.hpp"
#include "actions/proxy_smoothing.hpp"
#include "diagnostics/error_report.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "host/console.hpp"

#include "Unreal/AActor.hpp"
#include "Unreal/Rotator.hpp"
#include "Unreal/UClass.hpp"
#include "Unreal/UObjectGlobals.hpp"
#include "Unreal/World.hpp"

#include <exception>
#include <string>

namespace korvath {

namespace {

using RC::Unreal::AActor;
using RC::Unreal::FRotator;
using RC::Unreal::UClass;
using RC::Unreal::UWorld;
using RC::Unreal::UObjectGlobals::FindFirstOf;
using RC::Unreal::UObjectGlobals::FindObject;

constexpr const wchar_t* kControllerClassName = L"BP_PlayerController_C";
constexpr const wchar_t* kProxyClassPath = L"/Game/Blueprints/BP_PlayerCharacter.BP_PlayerCharacter_C";

auto copy_snapshot() -> RemotePlayerState {
    std::lock_guard lock(remoteStateMutex);
    return remotePlayerSnapshot;
}

auto copy_applied() -> RemotePlayerState {
    std::lock_guard lock(remoteStateMutex);
    return appliedProxyState;
}

auto store_applied(const RemotePlayerState& pose) -> void {
    std::lock_guard lock(remoteStateMutex);
    appliedProxyState = pose;
}

// The engine destroyed the proxy on its own: forget it so that this call spawns a new one.
auto forget_vanished_proxy() -> void {
    set_proxy_actor(nullptr);
    proxyActive.exchange(false);
    log_to_console(L"[KorvathOnlineCpp] Phase 5G real-client proxy was removed by the engine; spawning a new "
                   L"one.\n");
}

// K2_DestroyActor without letting an exception out; true when the actor is gone. The call has no result,
// and an engine may keep the actor without raising anything, so the answer comes from the engine.
auto destroy_quietly(AActor* actor) -> bool {
    try {
        actor->K2_DestroyActor();
    } catch (...) {
    }
    return live_proxy_actor() != actor;
}

// After an exception in the spawn region: remove whatever was spawned. When the engine refuses to destroy
// it, the reference is kept as a leftover, so that no second proxy is spawned beside it; the next
// SyncProxy tries again. That failure is not reported on its own: the error report keeps the spawn's.
auto abandon_failed_spawn() -> void {
    AActor* actor = live_proxy_actor();
    if (actor == nullptr || destroy_quietly(actor))
        set_proxy_actor(nullptr);
    else
        mark_proxy_leftover();
    proxyActive.exchange(false);
}

auto spawn_proxy(const RemotePlayerState& snapshot) -> void {
    auto* controller = static_cast<AActor*>(FindFirstOf(kControllerClassName));
    auto* proxyClass = static_cast<UClass*>(FindObject(nullptr, nullptr, kProxyClassPath, false, nullptr));
    if (controller == nullptr || proxyClass == nullptr) {
        write_error_report("The player controller or BP_PlayerCharacter_C class was not found.");
        return;
    }
    UWorld* world = controller->GetWorld();
    if (world == nullptr) {
        write_error_report("The active player controller returned a null world.");
        return;
    }
    const auto location = make_engine_vector(static_cast<double>(snapshot.x), static_cast<double>(snapshot.y),
                                             static_cast<double>(snapshot.z));
    const FRotator rotation(0.0, static_cast<double>(snapshot.yaw), 0.0);

    try {
        log_to_console(L"[KorvathOnlineCpp] Phase 5G spawning one visible real-client BP_PlayerCharacter_C "
                       L"proxy.\n");
        AActor* actor = world->SpawnActor(proxyClass, &location, &rotation);
        set_proxy_actor(actor);
        if (actor == nullptr) {
            write_error_report("UWorld::SpawnActor returned null.");
            return;
        }
        // The controls go through ProcessEvent: a DestroyProxy run inside one of them has already
        // removed this proxy and recorded it, so the rest must not touch it or mark it active.
        actor->SetActorHiddenInGame(false);
        if (proxyActor != actor)
            return;
        actor->SetActorEnableCollision(false);
        if (proxyActor != actor)
            return;
        actor->SetActorTickEnabled(false);
        if (proxyActor != actor)
            return;

        store_applied(snapshot);
        proxyActive.exchange(true);
        proxyEverSpawned.exchange(true);
        proxyDestroyed.exchange(false);
        movementUpdates.exchange(0);

        write_spawn_report(snapshot);
        log_to_console(L"[KorvathOnlineCpp] Phase 5G real-client proxy spawned: {}\n", actor->GetFullName());
        log_to_console(L"[KorvathOnlineCpp] Phase 5G controls applied: visible=1 collision=0 tick=0 "
                       L"controller=none.\n");
    } catch (const std::exception& error) {
        abandon_failed_spawn();
        write_error_report(std::string("Spawn call threw an exception: ") + error.what());
    } catch (...) {
        abandon_failed_spawn();
        write_error_report("Spawn call threw an unknown exception.");
    }
}

auto move_proxy(AActor* actor, const RemotePlayerState& snapshot) -> void {
    const RemotePlayerState next = next_proxy_pose(copy_applied(), snapshot);
    const auto location = make_engine_vector(static_cast<double>(next.x), static_cast<double>(next.y),
                                             static_cast<double>(next.z));
    const FRotator rotation(0.0, static_cast<double>(next.yaw), 0.0);

    try {
        const bool moved = move_actor(actor, location, rotation);
        lastMoveReturned.exchange(moved);
        if (moved)
            store_applied(next);
        movementUpdates.fetch_add(1);
    } catch (const std::exception& error) {
        write_error_report(std::string("Movement call threw an exception: ") + error.what());
        post_game_thread_command(GameThreadCommand::DestroyProxy);
    } catch (...) {
        write_error_report("Movement call threw an unknown exception.");
        post_game_thread_command(GameThreadCommand::DestroyProxy);
    }
}

} // namespace

auto sync_proxy() -> void {
    // Engine calls run events through ProcessEvent: a SyncProxy taken in there is dropped, so that it can
    // neither spawn a second proxy nor move this one before its spawn pose is recorded. The next post
    // comes 50 ms later.
    static bool syncing = false;
    if (syncing)
        return;
    const RemotePlayerState snapshot = copy_snapshot();
    if (!snapshot.valid)
        return;
    struct Syncing {
        Syncing() { syncing = true; }
        ~Syncing() { syncing = false; }
        Syncing(const Syncing&) = delete;
        Syncing& operator=(const Syncing&) = delete;
    } const mark; // cleared however the call ends, exceptions included

    if (proxyActor != nullptr) {
        AActor* actor = live_proxy_actor();
        if (actor == nullptr) {
            forget_vanished_proxy();
        } else if (!is_proxy_leftover()) {
            move_proxy(actor, snapshot);
            return;
        } else if (destroy_quietly(actor)) {
            set_proxy_actor(nullptr); // the leftover of a failed spawn is gone at last: spawn afresh
        } else {
            return; // still there: spawning now would put a second proxy in the world
        }
    }
    spawn_proxy(snapshot);
}

auto write_spawn_report(const RemotePlayerState& snapshot) -> void {
    std::string text;
    text.reserve(320 + snapshot.playerId.size() + snapshot.displayName.size() + snapshot.mapName.size());
    text += "phase=5G\n"
            "proxyActor=spawned\n"
            "proxyClass=BP_PlayerCharacter_C\n";
    text.append("remotePlayerId=").append(snapshot.playerId).append("\n");
    text.append("remoteDisplayName=").append(snapshot.displayName).append("\n");
    text.append("remoteMap=").append(snapshot.mapName).append("\n");
    text += "visibleRequested=1\n"
            "collisionDisabledRequested=1\n"
            "tickDisabledRequested=1\n"
            "controllerCreationRequested=0\n"
            "smoothingEnabled=1\n"
            "smoothingAlpha=0.35\n"
            "staleDestroySeconds=3\n"
            "sessionEnableConsumed=1\n";
    write_text_file_atomically(exchange_path(L"cpp_phase5g_spawn.txt"), text);
}

} // namespace korvath
