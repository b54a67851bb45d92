#include "actions/client_b_relocation.hpp"

#include "actions/actor_move.hpp"
#include "actions/client_b_destination.hpp"
#include "actions/engine_vector.hpp"
#include "diagnostics/error_report.hpp"
#include "diagnostics/report_number.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "host/console.hpp"
#include "mod/session_state.hpp"

#include "Unreal/AActor.hpp"
#include "Unreal/Rotator.hpp"
#include "Unreal/UObjectGlobals.hpp"

#include <exception>
#include <string>

namespace korvath {

namespace {

using RC::Unreal::AActor;

auto append_number_line(std::string& text, const char* key, double value) -> void {
    text.append(key).append(format_report_number(value)).push_back('\n');
}

auto write_client_spawn_report(const LocalPlayerState& local, const RC::Unreal::FVector& destination)
    -> void {
    const auto sent = read_engine_vector(destination);
    std::string text = "phase=5G.3\n"
                       "clientRole=CLIENT_B\n"
                       "localPawnMoved=1\n";
    append_number_line(text, "originalX=", static_cast<double>(local.x));
    append_number_line(text, "originalY=", static_cast<double>(local.y));
    append_number_line(text, "originalZ=", static_cast<double>(local.z));
    append_number_line(text, "destinationX=", sent[0]);
    append_number_line(text, "destinationY=", sent[1]);
    append_number_line(text, "destinationZ=", sent[2]);
    text += "separationDistance=800\n"
            "proxyExistedDuringMove=0\n";
    write_text_file_atomically(exchange_path(L"cpp_phase5g_client_spawn.txt"), text);
}

auto relocation_failed(const std::string& message) -> void {
    clientBSpawnAdjustFailed.exchange(true);
    write_error_report(message);
}

} // namespace

auto relocate_client_b() -> void {
    if (clientRole.load() != kClientB || clientBSpawnAdjusted.load())
        return;

    LocalPlayerState local;
    AActor* pawn = nullptr;
    try {
        if (read_local_state(local))
            pawn = static_cast<AActor*>(RC::Unreal::UObjectGlobals::FindFirstOf(L"BP_PlayerCharacter_C"));
    } catch (...) {
        // The exception goes on to the host, but the relocation stays open: with the command still
        // counted as queued, the controller would never post it again, and CLIENT_B's session would
        // wait for a relocation that neither succeeds nor fails.
        clientBRelocationQueued.exchange(false);
        throw;
    }
    if (pawn == nullptr) {
        clientBRelocationQueued.exchange(false); // the controller may post the command again
        return;
    }

    const auto [x, y, z] = client_b_destination(local.x, local.y, local.z, local.yaw);
    const auto destination =
        make_engine_vector(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
    const RC::Unreal::FRotator rotation(0.0, static_cast<double>(local.yaw), 0.0);

    try {
        if (!move_actor(pawn, destination, rotation)) {
            relocation_failed("Client B local pawn relocation returned false.");
            return;
        }
        clientBSpawnAdjusted.exchange(true);
        write_client_spawn_report(local, destination);
        log_to_console(
            L"[KorvathOnlineCpp] Phase 5G.5 moved CLIENT B to its distinct local spawn before proxy "
            L"sync.\n");
    } catch (const std::exception& error) {
        relocation_failed(std::string("Client B local pawn relocation threw an exception: ") + error.what());
    } catch (...) {
        relocation_failed("Client B local pawn relocation threw an unknown exception.");
    }
}

} // namespace korvath
