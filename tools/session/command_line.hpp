#pragma once
// The tool's command line: subcommand, game folders and options, checked before anything runs.

#include "tools/session/demo/demo_plan.hpp"
#include "tools/session/exchange/client_controls.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

enum class CommandKind { Help, Version, Role, Enable, Stop, Resume, Relay, Watch, Demo, DemoHelp };

struct Command {
    CommandKind kind = CommandKind::Help;
    std::vector<std::filesystem::path> gameDirs{};
    ClientRole role = ClientRole::ClientA;              // role
    int hz = 0;                                         // relay; 0: its default
    bool predict = true;                                // relay
    std::optional<std::chrono::nanoseconds> duration{}; // relay, watch
    DemoOptions demo{};                                 // demo
};

// A command line that cannot run; the message names the problem.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// `args` without the program name. Throws UsageError. Does not look at the file system.
auto parse_command_line(std::span<const std::string_view> args) -> Command;

// Throws UsageError when a game folder does not exist or the relay's two folders are the same.
auto check_game_folders(const Command& command) -> void;

auto usage_text() -> std::string_view;

} // namespace korvath::session_tool
