#pragma once

#include "KorvathModBase.hpp"
#include "session/session_controller.hpp"

namespace korvath {

// The mod object the host creates through start_mod. It keeps only the update hook's timestamps;
// everything else lives in the process-wide session state.
class KorvathOnlineCpp : public ModBase {
public:
    // Entry thread: resolves the exchange directory, reads the role, writes the loaded report,
    // clears the reports of an earlier run and announces itself on the console.
    KorvathOnlineCpp();
    // Entry thread: writes the unloaded report. Leaves the proxy and the game-thread callback.
    ~KorvathOnlineCpp() override;

    // Host's update thread.
    auto on_host_tick() -> void override;
    // Host's engine-ready thread.
    auto on_unreal_ready() -> void override;

private:
    SessionTimestamps m_timestamps;
};

} // namespace korvath
