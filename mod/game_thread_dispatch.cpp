#include "mod/game_thread_dispatch.hpp"

#include "actions/client_b_relocation.hpp"
#include "actions/proxy_destroy.hpp"
#include "actions/proxy_handle.hpp"
#include "actions/proxy_sync.hpp"
#include "mod/session_state.hpp"

namespace korvath {

auto destroy_reason() -> const char* {
    return killSwitchEngaged.load() ? "kill-switch" : "remote-player-stale";
}

namespace {

// How often the callback looks whether the engine removed the proxy on its own (a map change): every
// this many calls, a weak-reference lookup when there is a proxy. The game makes thousands of calls a
// second, so the reports learn of it well within their one-second cadence.
constexpr uint32_t kVanishedProxyCheckEvery = 64;
uint32_t callsSinceVanishedProxyCheck = 0; // game thread only

} // namespace

auto on_game_thread_process_event(RC::Unreal::UObject*, RC::Unreal::UFunction*, void*) -> void {
    if (++callsSinceVanishedProxyCheck == kVanishedProxyCheckEvery) {
        callsSinceVanishedProxyCheck = 0;
        note_vanished_proxy();
    }
    // A plain load first keeps the idle path free of a locked instruction; the exchange below still
    // takes a posted command exactly once.
    if (pendingGameThreadCommand.load(std::memory_order_relaxed) == GameThreadCommand::None)
        return;
    switch (take_game_thread_command()) {
    case GameThreadCommand::DestroyProxy:
        destroy_proxy(destroy_reason());
        break;
    case GameThreadCommand::RelocateClientB:
        relocate_client_b();
        break;
    case GameThreadCommand::SyncProxy:
        sync_proxy();
        break;
    case GameThreadCommand::None:
        break;
    }
}

} // namespace korvath
