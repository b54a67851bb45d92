#pragma once
// Process-wide state shared by the update thread and the game thread. Everything starts cleared
// when the library is loaded and outlives the mod object. Flags are one-byte atomics (written by
// exchange, read by load); only the two records are guarded, by remoteStateMutex.

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

namespace RC::Unreal {
class AActor;
}

namespace korvath {

// One player's pose as the exchange files give it.
struct RemotePlayerState {
    std::string playerId;
    std::string displayName;
    std::string mapName;
    float x{};
    float y{};
    float z{};
    float yaw{}; // degrees
    bool valid{};
};
using LocalPlayerState = RemotePlayerState;

enum class GameThreadCommand : int32_t {
    None = 0,
    SyncProxy = 1,
    DestroyProxy = 2,
    RelocateClientB = 3,
};

inline constexpr bool kClientA = false;
inline constexpr bool kClientB = true;

extern std::atomic<bool> unrealReady;
extern std::atomic<bool> gameThreadRealClientProxyCallbackRegistered;
extern std::atomic<bool> sessionEnabled;
extern std::atomic<bool> killSwitchEngaged;
extern std::atomic<bool> remoteFresh;
extern std::atomic<bool> proxyActive;
extern std::atomic<bool> proxyEverSpawned;
extern std::atomic<bool> proxyDestroyed;
extern std::atomic<bool> lastMoveReturned;
extern std::atomic<bool> testFailed;
extern std::atomic<bool> clientRole; // kClientA or kClientB
extern std::atomic<bool> clientBRelocationQueued;
extern std::atomic<bool> clientBSpawnAdjusted;
extern std::atomic<bool> clientBSpawnAdjustFailed;

extern std::atomic<uint64_t> movementUpdates;
extern std::atomic<GameThreadCommand> pendingGameThreadCommand;

// Game thread only.
extern RC::Unreal::AActor* proxyActor;

extern std::mutex remoteStateMutex;
extern RemotePlayerState remotePlayerSnapshot; // guarded by remoteStateMutex
extern RemotePlayerState appliedProxyState;    // guarded by remoteStateMutex

static_assert(sizeof(std::atomic<bool>) == 1 && std::atomic<bool>::is_always_lock_free);
static_assert(std::atomic<GameThreadCommand>::is_always_lock_free);

// Update thread, and the game thread after a failed move. The last post before a take wins.
inline auto post_game_thread_command(GameThreadCommand command) -> void {
    pendingGameThreadCommand.exchange(command);
}

// Game thread only: yields the pending command and leaves None, so a command never runs twice.
inline auto take_game_thread_command() -> GameThreadCommand {
    return pendingGameThreadCommand.exchange(GameThreadCommand::None);
}

} // namespace korvath
