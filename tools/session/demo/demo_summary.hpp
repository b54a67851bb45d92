#pragma once
// What one client's mod did in the demo, told by its reports, and the demo's verdict on the session.

#include "tools/session/demo/follow_distance.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvath::session_tool {

// The texts of one client's reports; nothing for a report that is absent.
struct ClientReports {
    std::optional<std::string> heartbeat;   // cpp_heartbeat.txt
    std::optional<std::string> spawn;       // cpp_phase5g_spawn.txt
    std::optional<std::string> destroy;     // cpp_phase5g_destroy.txt
    std::optional<std::string> clientSpawn; // cpp_phase5g_client_spawn.txt
    std::optional<std::string> error;       // cpp_phase5g_error.txt
};

// Reads the reports from the game folder's exchange directory.
auto read_client_reports(const std::filesystem::path& gameDir) -> ClientReports;

struct ClientSummary {
    std::string name; // "A" or "B"
    bool proxySpawned = false;
    std::string remotePlayer; // whom the proxy stands for: display name, id and map
    std::uint64_t moves = 0;  // movementUpdates of the last heartbeat
    bool proxyDestroyed = false;
    std::string destroyReason;
    bool movedAside = false;          // CLIENT_B's relocation
    std::string moveAsideText;        // "(0, 0, 100) -> (0, 800, 110)"
    std::optional<std::string> error; // the error report's message, or a failure the heartbeat shows
};

auto summarize_client(std::string name, const ClientReports& reports) -> ClientSummary;

// What became of the client's proxy: `proxy of "KESTREN CLIENT B" (player-b, Map_A) spawned,
// 212 moves, destroyed: kill-switch`, or "no proxy spawned".
auto proxy_text(const ClientSummary& summary) -> std::string;

struct DemoExpectations {
    std::string destroyReasonA = "kill-switch";
    std::string destroyReasonB = "remote-player-stale";
    double followLimit = 500.0; // engine units
};

// Everything in which the session differed from the expectations; empty when it went as expected.
// `follow` measures B's proxy of A against A's pawn while both proxies were following.
auto demo_problems(const ClientSummary& a, const ClientSummary& b, const FollowStats& follow,
                   const DemoExpectations& expected) -> std::vector<std::string>;

} // namespace korvath::session_tool
