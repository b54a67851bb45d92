#include "diagnostics/status_report.hpp"

#include "diagnostics/report_number.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "mod/session_state.hpp"

#include <string>
#include <string_view>

namespace korvath {

namespace {

auto flag_text(const std::atomic<bool>& flag) -> std::string_view {
    return flag.load() ? "1" : "0";
}

auto number_text(float value) -> std::string {
    return format_report_number(static_cast<double>(value));
}

} // namespace

auto write_status_report() -> void {
    RemotePlayerState target;
    RemotePlayerState applied;
    {
        std::lock_guard lock(remoteStateMutex);
        target = remotePlayerSnapshot;
        applied = appliedProxyState;
    }

    std::string text;
    text.reserve(768);
    const auto line = [&text](std::string_view key, std::string_view value) {
        text += key;
        text += value;
        text += '\n';
    };
    line("phase=5G", "");
    line("sessionEnabled=", flag_text(sessionEnabled));
    line("proxyActive=", flag_text(proxyActive));
    line("proxyEverSpawned=", flag_text(proxyEverSpawned));
    line("proxyDestroyed=", flag_text(proxyDestroyed));
    line("remoteFileFresh=", flag_text(remoteFresh));
    line("movementUpdates=", std::to_string(movementUpdates.load()));
    line("lastMoveReturned=", flag_text(lastMoveReturned));
    line("testFailed=", flag_text(testFailed));
    line("clientRole=", clientRole.load() == kClientB ? "CLIENT_B" : "CLIENT_A");
    line("clientBSpawnAdjusted=", flag_text(clientBSpawnAdjusted));
    line("clientBSpawnAdjustFailed=", flag_text(clientBSpawnAdjustFailed));
    line("remotePlayerId=", target.playerId);
    line("remoteDisplayName=", target.displayName);
    line("remoteMap=", target.mapName);
    line("targetX=", number_text(target.x));
    line("targetY=", number_text(target.y));
    line("targetZ=", number_text(target.z));
    line("targetYaw=", number_text(target.yaw));
    line("appliedX=", number_text(applied.x));
    line("appliedY=", number_text(applied.y));
    line("appliedZ=", number_text(applied.z));
    line("appliedYaw=", number_text(applied.yaw));
    line("collisionDisabled=1", "");
    line("tickDisabled=1", "");
    line("controllerCreationRequested=0", "");
    line("smoothingAlpha=0.35", "");

    write_text_file_atomically(exchange_path(L"cpp_phase5g_status.txt"), text);
}

} // namespace korvath
