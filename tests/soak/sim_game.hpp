#pragma once
// A korvath-sim process driven from a test: its exchange files, its remote player, commands through its
// control file, and the proxies its world log shows.

#include "tools/session/demo/child_process.hpp"
#include "tools/session/exchange/client_controls.hpp"
#include "tools/soak/world_snapshots.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::test {

namespace fs = std::filesystem;

class SimGame {
public:
    // Lays out `game` (role file, enable marker, a remote row that stays fresh) and starts the simulator
    // with the engine ready after 0.1 s, 250 ProcessEvent calls a second and `extra` arguments.
    SimGame(fs::path game, session_tool::ClientRole role, const std::vector<std::string>& extra = {});
    ~SimGame();
    SimGame(const SimGame&) = delete;
    SimGame& operator=(const SimGame&) = delete;

    auto exchange() const -> fs::path { return m_game / "KorvathOnline"; }
    // A report's text; empty when it is missing.
    auto report(std::string_view name) const -> std::string;
    // The status report holds the whole line `line`.
    auto status_says(std::string_view line) const -> bool;
    // Places commands for the simulator; true once it has taken them (within 2 s).
    auto command(std::string_view lines) -> bool;
    // The remote row's file: last written in the future (fresh for the whole test) or a minute ago.
    auto set_remote_fresh(bool fresh) -> void;
    // Living proxies in the world log's latest whole snapshot, and the most in any snapshot so far.
    auto proxies() -> int;
    auto most_proxies() -> int;
    // One proxy in the world, and the status report says so.
    auto has_proxy() -> bool;
    // The world and the status report agree: a proxy and proxyActive=1, or neither.
    auto consistent() -> bool;
    // SIGTERM; the exit status.
    auto stop() -> int;
    auto log() const -> std::string;

private:
    auto read_world() -> void;

    fs::path m_game;
    std::unique_ptr<session_tool::ChildProcess> m_process;
    soak::WorldSnapshots m_world;
    int m_proxies = 0;
    int m_mostProxies = 0;
    std::optional<int> m_exit;
};

} // namespace korvath::test
