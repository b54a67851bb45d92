#include "soak/sim_game.hpp"

#include "support/test_support.hpp"

#include <algorithm>

namespace korvath::test {

namespace tool = session_tool;
using namespace std::chrono_literals;

SimGame::SimGame(fs::path game, tool::ClientRole role, const std::vector<std::string>& extra)
    : m_game(std::move(game)) {
    fs::create_directories(exchange());
    tool::write_role_file(m_game, role);
    tool::place_enable_marker(m_game);
    set_remote_fresh(true);
    std::vector<std::string> arguments{"--game-dir",         m_game.string(),
                                       "--ready-after",      "0.1",
                                       "--process-event-hz", "250",
                                       "--duration",         "170",
                                       "--world-log",        m_game.string() + ".world",
                                       "--control",          m_game.string() + ".control"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    m_process = std::make_unique<tool::ChildProcess>(tool_program("korvath-sim"), arguments,
                                                     fs::path(m_game) += ".log");
}

SimGame::~SimGame() = default;

auto SimGame::report(std::string_view name) const -> std::string {
    const fs::path file = exchange() / name;
    std::error_code error;
    if (!fs::is_regular_file(file, error))
        return {};
    try {
        return read_file(file);
    } catch (...) {
        return {}; // replaced between the test and the read
    }
}

auto SimGame::status_says(std::string_view line) const -> bool {
    return report("cpp_phase5g_status.txt").find("\n" + std::string(line) + "\n") != std::string::npos;
}

auto SimGame::command(std::string_view lines) -> bool {
    const fs::path control = fs::path(m_game) += ".control";
    write_file(fs::path(control) += ".new", lines);
    fs::rename(fs::path(control) += ".new", control);
    return wait_until(2s, [&] { return !fs::exists(control); });
}

auto SimGame::set_remote_fresh(bool fresh) -> void {
    const fs::path remote = exchange() / "remote_players.tsv";
    if (!fs::exists(remote))
        write_file(remote, "player-b\tKESTREN CLIENT B\t0\t800\t110\t0\tMap_A\n");
    set_file_age(remote, fresh ? -600 : 60);
}

auto SimGame::read_world() -> void {
    m_world.read_more(fs::path(m_game) += ".world", [&](const soak::WorldSnapshot& snapshot) {
        m_proxies = snapshot.proxies;
        m_mostProxies = std::max(m_mostProxies, snapshot.proxies);
    });
}

auto SimGame::proxies() -> int {
    read_world();
    return m_proxies;
}

auto SimGame::most_proxies() -> int {
    read_world();
    return m_mostProxies;
}

auto SimGame::has_proxy() -> bool {
    return proxies() == 1 && status_says("proxyActive=1");
}

auto SimGame::consistent() -> bool {
    return status_says(proxies() > 0 ? "proxyActive=1" : "proxyActive=0");
}

auto SimGame::stop() -> int {
    if (!m_exit)
        m_exit = m_process->terminate(5s);
    return *m_exit;
}

auto SimGame::log() const -> std::string {
    return read_file(fs::path(m_game) += ".log");
}

} // namespace korvath::test
