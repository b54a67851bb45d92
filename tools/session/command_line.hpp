#pragma once
// The tool's command line: subcommand, game folders and options, checked before anything runs.

#include "tools/session/demo/demo_plan.hpp"
#include "tools/session/exchange/client_controls.hpp"
#include "tools/session/net/host_address.hpp"
#include "tools/session/net/session_code.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

enum class CommandKind {
    Help,
    Version,
    Role,
    Enable,
    Stop,
    Resume,
    Relay,
    Watch,
    Demo,
    Host,
    Join,
    Doctor,
    Setup
};

struct Command {
    CommandKind kind = CommandKind::Help;
    std::string helpText{}; // help
    std::vector<std::filesystem::path> gameDirs{};
    ClientRole role = ClientRole::ClientA;              // role
    int hz = 0;                                         // relay, host, join; 0: its default
    bool predict = true;                                // relay, host, join
    std::optional<std::chrono::nanoseconds> duration{}; // relay, watch, host, join
    uint16_t port = kDefaultSessionPort;                // host
    bool mapPort = true;                                // host
    std::chrono::seconds mapLease{1200};                // host
    HostAddress peer{};                                 // join
    SessionCode code{};                                 // join
    DemoOptions demo{};                                 // demo
    std::optional<std::filesystem::path> dll{};         // setup
    std::optional<std::filesystem::path> from{};        // setup; none: the program's folder
};

// A command line that cannot run; the message names the problem.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& message, std::string subcommand = {})
        : std::runtime_error(message)
        , m_subcommand(std::move(subcommand)) {}
    // The subcommand whose help to suggest; empty for the program's.
    auto subcommand() const -> const std::string& { return m_subcommand; }

private:
    std::string m_subcommand;
};

// `args` without the program name. Throws UsageError. Does not look at the file system.
auto parse_command_line(std::span<const std::string_view> args) -> Command;

// Throws UsageError when a game folder does not exist or the relay's two folders are the same.
auto check_game_folders(const Command& command) -> void;

} // namespace korvath::session_tool
