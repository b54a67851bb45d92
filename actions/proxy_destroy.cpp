#include "actions/proxy_destroy.hpp"

#include "actions/proxy_handle.hpp"
#include "diagnostics/error_report.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "host/console.hpp"
#include "mod/session_state.hpp"

#include <exception>
#include <string>

namespace korvath {

namespace {

auto write_destroy_report(const char* reason) -> void {
    std::string text = "phase=5G\n"
                       "proxyDestroyRequested=1\n"
                       "proxyDestroyCallReturned=1\n"
                       "destroyReason=";
    text.append(reason != nullptr ? reason : "").push_back('\n');
    write_text_file_atomically(exchange_path(L"cpp_phase5g_destroy.txt"), text);
}

auto mark_proxy_gone() -> void {
    set_proxy_actor(nullptr);
    proxyActive.exchange(false);
    proxyDestroyed.exchange(true);
}

} // namespace

auto destroy_proxy(const char* reason) -> void {
    if (proxyActor == nullptr) {
        proxyActive.exchange(false);
        return;
    }
    try {
        RC::Unreal::AActor* actor = live_proxy_actor();
        if (actor == nullptr) {
            // The engine destroyed it on its own: nothing to name or destroy, but the session still
            // learns that the proxy is gone and why it was asked to go.
            mark_proxy_gone();
            write_destroy_report(reason);
            log_to_console(
                L"[KorvathOnlineCpp] Phase 5G real-client proxy was already removed by the engine; "
                L"no destroy call made.\n");
            return;
        }
        log_to_console(L"[KorvathOnlineCpp] Phase 5G destroying real-client proxy: {}\n",
                       actor->GetFullName());
        actor->K2_DestroyActor();
        if (live_proxy_actor() == actor) {
            // The engine kept the actor (the call has no result to say so): it stays the proxy, so that
            // proxyActive matches the world and no second proxy is spawned beside it. The controller
            // asks again while the proxy is still to go.
            write_error_report("Destroy call returned but the proxy is still in the world.");
            return;
        }
        mark_proxy_gone();
        write_destroy_report(reason);
        log_to_console(
            L"[KorvathOnlineCpp] Phase 5G real-client proxy destroy call returned successfully.\n");
    } catch (const std::exception& error) {
        write_error_report(std::string("Destroy call threw an exception: ") + error.what());
    } catch (...) {
        write_error_report("Destroy call threw an unknown exception.");
    }
}

} // namespace korvath
