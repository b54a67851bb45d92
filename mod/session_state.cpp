#include "mod/session_state.hpp"

namespace korvath {

std::atomic<bool> unrealReady{false};
std::atomic<bool> gameThreadRealClientProxyCallbackRegistered{false};
std::atomic<bool> sessionEnabled{false};
std::atomic<bool> killSwitchEngaged{false};
std::atomic<bool> remoteFresh{false};
std::atomic<bool> proxyActive{false};
std::atomic<bool> proxyEverSpawned{false};
std::atomic<bool> proxyDestroyed{false};
std::atomic<bool> lastMoveReturned{false};
std::atomic<bool> testFailed{false};
std::atomic<bool> clientRole{kClientA};
std::atomic<bool> clientBRelocationQueued{false};
std::atomic<bool> clientBSpawnAdjusted{false};
std::atomic<bool> clientBSpawnAdjustFailed{false};

std::atomic<uint64_t> movementUpdates{0};
std::atomic<GameThreadCommand> pendingGameThreadCommand{GameThreadCommand::None};

RC::Unreal::AActor* proxyActor = nullptr;

std::mutex remoteStateMutex;
RemotePlayerState remotePlayerSnapshot;
RemotePlayerState appliedProxyState;

} // namespace korvath
