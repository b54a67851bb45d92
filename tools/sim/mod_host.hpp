#pragma once
// The mod host's side of the simulated game: the loaded mod library, its mod object and the calls into
// its hooks, each guarded like the real host guards them.

#include "standin/ModLoader.hpp"
#include "tools/sim/hook_guard.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace korvath::sim {

class ModHost {
public:
    // Loads the library; throws standin::ModLoadError when it or its entry points cannot be found.
    explicit ModHost(const std::filesystem::path& library);

    // Entry thread: creates the mod object through start_mod; false when that failed.
    auto start() -> bool;
    // Update thread. Each call is timed: a hook that stalls the host's update thread shows in the summary,
    // and the first calls longer than the mod's poll interval (75 ms) are printed with their time.
    auto tick() -> void;
    // The engine-ready thread.
    auto engine_ready() -> void;
    // Entry thread, after the other threads have ended: deletes the mod object through uninstall_mod.
    auto uninstall() -> void;
    // After the hook threads have ended: the escaped exceptions, and the count and the longest (in wall
    // time and in processor time) of the update calls.
    auto print_summaries() const -> void;

private:
    standin::LoadedMod m_library;
    RC::CppUserModBase*
        m_mod{}; // written on the entry thread before the hook threads start and after they end
    HookGuard m_startGuard{"start_mod"};
    HookGuard m_tickGuard{"on_update"};
    HookGuard m_readyGuard{"on_unreal_init"};
    HookGuard m_uninstallGuard{"uninstall_mod"};
    std::chrono::steady_clock::time_point m_created{std::chrono::steady_clock::now()};
    uint64_t m_ticks{}; // update thread
    uint64_t m_slowTicks{};
    std::chrono::nanoseconds m_longestTick{};
    std::chrono::nanoseconds m_longestTickCpu{}; // the thread's processor time: not lengthened by preemption
};

} // namespace korvath::sim
