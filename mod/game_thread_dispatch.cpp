#include "mod/game_thread_dispatch.hpp"

#include "actions/client_b_relocation.hpp"
#include "actions/proxy_destroy.hpp"
#include "actions/proxy_sync.hpp"
#include "mod/session_state.hpp"

namespace korvath {

auto destroy_reason() -> const char* {
    return killSwitchEngaged.load() ? "kill-switch" : "remote-player-stale";
}

auto on_game_thread_process_event(RC::Unreal::UObject*, RC::Unreal::UFunction*, void*) -> void {
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
