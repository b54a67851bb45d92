// korvath-session: the outside session process of KorvathOnlineCpp.

#include "tools/platform/os.hpp"
#include "tools/session/command_line.hpp"
#include "tools/session/demo/demo.hpp"
#include "tools/session/doctor/doctor.hpp"
#include "tools/session/exchange/client_controls.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/link/periodic_loop.hpp"
#include "tools/session/link/relay.hpp"
#include "tools/session/net/network_commands.hpp"
#include "tools/session/setup/setup.hpp"
#include "tools/session/watch/terminal.hpp"
#include "tools/session/watch/watch.hpp"

#include <iostream>
#include <string>
#include <vector>

namespace tool = korvath::session_tool;

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

auto report_file_step(bool done, const std::filesystem::path& file, std::string_view action) -> int {
    if (!done) {
        std::cerr << "korvath-session: error: cannot " << action << " " << file.string() << "\n";
        return kExitFailure;
    }
    std::cout << action << " " << file.string() << "\n";
    return 0;
}

auto run(const tool::Command& command) -> int {
    const auto exchangeFile = [&](std::string_view name) {
        return tool::exchange_dir_of(command.gameDirs[0]) / name;
    };
    switch (command.kind) {
    case tool::CommandKind::Help:
        std::cout << command.helpText;
        return 0;
    case tool::CommandKind::Version:
        std::cout << "korvath-session " << KORVATH_SESSION_VERSION << "\n";
        return 0;
    case tool::CommandKind::Role:
        return report_file_step(tool::write_role_file(command.gameDirs[0], command.role),
                                exchangeFile(tool::kRoleFile), "wrote");
    case tool::CommandKind::Enable:
        return report_file_step(tool::place_enable_marker(command.gameDirs[0]),
                                exchangeFile(tool::kEnableMarker), "placed");
    case tool::CommandKind::Stop:
        return report_file_step(tool::place_stop_marker(command.gameDirs[0]), exchangeFile(tool::kStopMarker),
                                "placed");
    case tool::CommandKind::Resume:
        if (std::error_code error; !std::filesystem::exists(exchangeFile(tool::kStopMarker), error)) {
            std::cout << "no stop marker at " << exchangeFile(tool::kStopMarker).string() << "\n";
            return 0;
        }
        return report_file_step(tool::remove_stop_marker(command.gameDirs[0]),
                                exchangeFile(tool::kStopMarker), "removed");
    case tool::CommandKind::Relay:
        tool::install_stop_handlers();
        return tool::run_relay(
            {command.gameDirs[0], command.gameDirs[1], command.hz, command.predict, command.duration},
            std::cout);
    case tool::CommandKind::Host:
        return tool::run_host({command.gameDirs[0], command.port, command.hz, command.predict,
                               command.duration, command.mapPort, command.mapLease},
                              std::cout);
    case tool::CommandKind::Join:
        return tool::run_join(
            {command.peer, command.gameDirs[0], command.code, command.hz, command.predict, command.duration},
            std::cout);
    case tool::CommandKind::Watch: {
        tool::install_stop_handlers();
        const bool terminal = tool::stdout_is_terminal();
        return tool::run_watch(
            {command.gameDirs, command.duration, terminal, terminal ? tool::terminal_width(100) : 100},
            std::cout);
    }
    case tool::CommandKind::Demo:
        return tool::run_demo(command.demo, std::cout);
    case tool::CommandKind::Doctor:
        return tool::run_doctor(command.gameDirs, std::filesystem::file_time_type::clock::now(), std::cout);
    case tool::CommandKind::Setup:
        return tool::run_setup({command.gameDirs,
                                command.from.value_or(korvath::os::this_executable().parent_path()),
                                command.dll},
                               std::cout);
    }
    return kExitFailure;
}

} // namespace

int main(int argc, char** argv) {
    korvath::os::use_binary_stdio();
    const std::vector<std::string> utf8Args = korvath::os::utf8_arguments(argc, argv);
    const std::vector<std::string_view> args(utf8Args.begin() + (utf8Args.empty() ? 0 : 1), utf8Args.end());
    tool::Command command;
    try {
        command = tool::parse_command_line(args);
        tool::check_game_folders(command);
    } catch (const tool::UsageError& error) {
        const std::string subcommand = error.subcommand().empty() ? "" : error.subcommand() + " ";
        std::cerr << "korvath-session: error: " << error.what() << "\n"
                  << "Try 'korvath-session " << subcommand << "--help'.\n";
        return kExitUsage;
    }
    try {
        return run(command);
    } catch (const std::exception& error) {
        std::cerr << "korvath-session: error: " << error.what() << "\n";
        return kExitFailure;
    }
}
