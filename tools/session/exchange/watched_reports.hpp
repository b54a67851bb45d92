#pragma once
// The reports the watch shows for each client, in display order.

#include <array>
#include <cstddef>
#include <string_view>

namespace korvath::session_tool {

struct WatchedReport {
    std::string_view label;
    std::string_view fileName;
    bool firstLineOnly; // the rest is fixed text
};

inline constexpr std::array kWatchedReports{
    WatchedReport{"heartbeat", "cpp_heartbeat.txt", false},
    WatchedReport{"status", "cpp_phase5g_status.txt", false},
    WatchedReport{"mod_loaded", "cpp_mod_loaded.txt", true},
    WatchedReport{"unreal_ready", "cpp_unreal_ready.txt", false},
    WatchedReport{"client_spawn", "cpp_phase5g_client_spawn.txt", false},
    WatchedReport{"spawn", "cpp_phase5g_spawn.txt", false},
    WatchedReport{"destroy", "cpp_phase5g_destroy.txt", false},
    WatchedReport{"error", "cpp_phase5g_error.txt", false},
    WatchedReport{"unloaded", "cpp_mod_unloaded.txt", false},
};

inline constexpr std::size_t kHeartbeatReport = 0;

} // namespace korvath::session_tool
