#include "mod/KorvathOnlineCpp.hpp"

#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "exchange/file_tests.hpp"
#include "host/console.hpp"
#include "mod/engine_ready.hpp"
#include "mod/role_file.hpp"
#include "mod/session_state.hpp"
#include "session/monotonic_clock.hpp"

namespace korvath {

namespace {

constexpr std::string_view kLoadedReport =
    "KorvathOnlineCpp Phase 5G loaded.\n"
    "A real-client proxy session requires phase5g.enable_once.txt.\n"
    "The proxy is visible, collisionless, tick-disabled and controllerless.\n"
    "CLIENT_B is moved once to a distinct spawn before sync.\n";

// Reports of an earlier run that must not be mistaken for this run's.
constexpr const wchar_t* kEarlierRunReports[] = {
    L"cpp_phase5g_spawn.txt", L"cpp_phase5g_status.txt",       L"cpp_phase5g_destroy.txt",
    L"cpp_phase5g_error.txt", L"cpp_phase5g_client_spawn.txt",
};

} // namespace

KorvathOnlineCpp::KorvathOnlineCpp() {
    ModName = L"KorvathOnlineCpp";
    ModVersion = L"0.5.10-phase5g5";
    ModDescription = L"Automatic two-client Continue, distinct spawn and moving proxy for Korvath Online";
    ModAuthors = L"Varnel / Korvath Online";

    exchangeDirectory = resolve_base_directory() / "KorvathOnline";

    clientRole.exchange(role_from_text(read_role_file(exchange_path(L"phase5g-role.txt"))));

    write_text_file_atomically(exchange_path(L"cpp_mod_loaded.txt"), kLoadedReport);
    for (const wchar_t* report : kEarlierRunReports)
        delete_exchange_file(report);

    log_to_console(
        L"[KorvathOnlineCpp] Phase 5G DLL loaded. Waiting for a one-time real-client proxy enable marker.\n");
}

KorvathOnlineCpp::~KorvathOnlineCpp() {
    // A destructor must not throw: out of memory or a failing console device only loses the notice.
    try {
        const bool active = proxyActive.load();
        write_text_file_atomically(exchange_path(L"cpp_mod_unloaded.txt"),
                                   active ? "KorvathOnlineCpp Phase 5G unloaded while the proxy was active.\n"
                                          : "KorvathOnlineCpp Phase 5G unloaded with no active proxy.\n");
        log_to_console(L"[KorvathOnlineCpp] Phase 5G DLL unloaded.\n");
    } catch (...) {
    }
}

auto KorvathOnlineCpp::on_host_tick() -> void {
    run_host_tick(m_timestamps, monotonic_now_ns());
}

auto KorvathOnlineCpp::on_unreal_ready() -> void {
    korvath::on_unreal_ready();
}

} // namespace korvath
