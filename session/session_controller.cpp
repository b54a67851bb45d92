#include "session/session_controller.hpp"

#include "diagnostics/status_report.hpp"
#include "exchange/file_tests.hpp"
#include "exchange/local_state.hpp"
#include "exchange/remote_players.hpp"
#include "host/console.hpp"
#include "mod/session_state.hpp"
#include "session/heartbeat.hpp"

namespace korvath {

namespace {

constexpr int64_t kHeartbeatInterval = 1'000'000'000;
constexpr int64_t kStatusReportInterval = 1'000'000'000;
constexpr int64_t kClientBSettleWait = 2'000'000'000;
constexpr int64_t kEnableWait = 7'000'000'000;
constexpr int64_t kRemotePollInterval = 75'000'000;
constexpr int64_t kSyncPostInterval = 50'000'000;
constexpr int64_t kStalenessLimit = 3'000'000'000;

constexpr std::wstring_view kEnableMarker = L"phase5g.enable_once.txt";
constexpr std::wstring_view kStopMarker = L"phase5g.stop.txt";

// An interval is due when its stamp is unset or at least `interval` has passed.
auto is_due(int64_t stamp, int64_t now, int64_t interval) -> bool {
    return stamp == 0 || now - stamp >= interval;
}

auto wait_is_over(int64_t startedAt, int64_t now, int64_t wait) -> bool {
    return now - startedAt >= wait;
}

// Before the session: CLIENT_B waits for two seconds of fresh local state, then asks the game
// thread to move its pawn aside. Returns true when the call must end here.
auto run_client_b_pre_session(SessionTimestamps& stamps, int64_t now) -> bool {
    if (clientRole.load() != kClientB || sessionEnabled.load() || clientBSpawnAdjusted.load() ||
        clientBSpawnAdjustFailed.load())
        return false;
    if (!is_local_state_fresh()) {
        stamps.clientBWaitStartedAt = 0;
        clientBRelocationQueued.exchange(false);
        return true;
    }
    if (stamps.clientBWaitStartedAt == 0) {
        stamps.clientBWaitStartedAt = now;
        log_to_console(L"[KorvathOnlineCpp] Phase 5G.5 CLIENT B pawn loaded; waiting two seconds before "
                       L"distinct-spawn relocation.\n");
        return true;
    }
    if (!wait_is_over(stamps.clientBWaitStartedAt, now, kClientBSettleWait))
        return true;
    if (clientBRelocationQueued.exchange(true))
        return true;
    post_game_thread_command(GameThreadCommand::RelocateClientB);
    return true;
}

// The enable marker plus seven seconds of fresh local state start the session. Returns true when
// the call must end here (the session is still off).
auto run_enable_wait(SessionTimestamps& stamps, int64_t now) -> bool {
    if (sessionEnabled.load())
        return false;
    if (!exchange_file_exists(kEnableMarker))
        return true;
    if (!is_local_state_fresh()) {
        stamps.enableWaitStartedAt = 0;
        return true;
    }
    if (stamps.enableWaitStartedAt == 0) {
        stamps.enableWaitStartedAt = now;
        log_to_console(
            L"[KorvathOnlineCpp] Phase 5G detected fresh local state; waiting seven seconds before "
            L"enabling the network proxy.\n");
        return true;
    }
    if (!wait_is_over(stamps.enableWaitStartedAt, now, kEnableWait))
        return true;
    delete_exchange_file(kEnableMarker);
    sessionEnabled.exchange(true);
    log_to_console(L"[KorvathOnlineCpp] Phase 5G real-client proxy session enabled.\n");
    return false;
}

// The poll's record, kept from poll to poll so that its strings' storage is reused: a poll allocates
// nothing once the names have been seen. Update thread only.
RemotePlayerState polled;

auto poll_remote_players(SessionTimestamps& stamps, int64_t now) -> void {
    if (!is_due(stamps.lastRemotePollAt, now, kRemotePollInterval))
        return;
    stamps.lastRemotePollAt = now;
    if (read_remote_players(polled)) {
        {
            std::lock_guard lock(remoteStateMutex);
            remotePlayerSnapshot = polled;
        }
        remoteFresh.exchange(true);
        stamps.lastRemoteFreshAt = now;
    } else {
        remoteFresh.exchange(false);
    }
}

auto sync_or_expire(SessionTimestamps& stamps, int64_t now) -> void {
    if (remoteFresh.load()) {
        if (is_due(stamps.lastSyncPostedAt, now, kSyncPostInterval)) {
            stamps.lastSyncPostedAt = now;
            post_game_thread_command(GameThreadCommand::SyncProxy);
        }
        return;
    }
    if (proxyActive.load() && stamps.lastRemoteFreshAt != 0 &&
        wait_is_over(stamps.lastRemoteFreshAt, now, kStalenessLimit))
        post_game_thread_command(GameThreadCommand::DestroyProxy);
}

} // namespace

auto run_host_tick(SessionTimestamps& stamps, int64_t now) -> void {
    if (is_due(stamps.lastHeartbeatAt, now, kHeartbeatInterval)) {
        stamps.lastHeartbeatAt = now;
        write_heartbeat();
    }
    if (is_due(stamps.lastStatusReportAt, now, kStatusReportInterval)) {
        stamps.lastStatusReportAt = now;
        write_status_report();
    }
    if (!unrealReady.load())
        return;

    if (exchange_file_exists(kStopMarker)) {
        killSwitchEngaged.exchange(true);
        sessionEnabled.exchange(false);
        if (proxyActive.load())
            post_game_thread_command(GameThreadCommand::DestroyProxy);
        return;
    }
    if (run_client_b_pre_session(stamps, now))
        return;
    if (run_enable_wait(stamps, now))
        return;
    poll_remote_players(stamps, now);
    sync_or_expire(stamps, now);
}

} // namespace korvath
