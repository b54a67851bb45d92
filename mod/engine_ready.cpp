#include "mod/engine_ready.hpp"

#include "KorvathProcessEventHook.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "host/console.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "mod/module_pin.hpp"
#include "mod/session_state.hpp"

namespace korvath {

auto on_unreal_ready() -> void {
    unrealReady.exchange(true);
    if (!gameThreadRealClientProxyCallbackRegistered.exchange(true)) {
        pin_module_in_memory();
        register_process_event_pre_callback<&on_game_thread_process_event>();
    }
    write_text_file_atomically(exchange_path(L"cpp_unreal_ready.txt"),
                               "phase=5G\nunrealReady=1\ngameThreadRealClientProxyCallbackRegistered=1\n");
    log_to_console(L"[KorvathOnlineCpp] Phase 5G Unreal initialization confirmed; real-client proxy callback "
                   L"registered.\n");
}

} // namespace korvath
