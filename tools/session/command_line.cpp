#include "tools/session/command_line.hpp"

#include "tools/platform/os.hpp"

#include <charconv>
#include <cmath>
#include <string>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr int kMaxHz = 1000;
constexpr double kMaxDurationSeconds = 1.0e8;

struct Subcommand {
    std::string_view name;
    CommandKind kind;
    std::size_t minFolders;
    std::size_t maxFolders; // role's second positional is its role, counted here
    bool takesHz;
    bool takesDuration;
    std::string_view shape;
};

constexpr Subcommand kSubcommands[] = {
    {"role", CommandKind::Role, 2, 2, false, false, "role DIR CLIENT_A|CLIENT_B"},
    {"enable", CommandKind::Enable, 1, 1, false, false, "enable DIR"},
    {"stop", CommandKind::Stop, 1, 1, false, false, "stop DIR"},
    {"resume", CommandKind::Resume, 1, 1, false, false, "resume DIR"},
    {"relay", CommandKind::Relay, 2, 2, true, true,
     "relay DIR_A DIR_B [--hz N] [--duration S] [--no-predict]"},
    {"watch", CommandKind::Watch, 1, SIZE_MAX, false, true, "watch DIR... [--duration S]"},
};

auto in_quotes(std::string_view text) -> std::string {
    return "'" + std::string(text) + "'";
}

auto parse_hz(std::string_view text) -> int {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < 1 ||
        value > kMaxHz)
        throw UsageError("--hz must be a whole number from 1 to 1000, got " + in_quotes(text));
    return value;
}

auto parse_duration(std::string_view text) -> std::chrono::nanoseconds {
    double seconds = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || !std::isfinite(seconds) ||
        seconds < 0.0 || seconds > kMaxDurationSeconds)
        throw UsageError("--duration must be a number of seconds from 0 to 100000000, got " +
                         in_quotes(text));
    return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

auto parse_role(std::string_view text) -> ClientRole {
    if (text == "CLIENT_A")
        return ClientRole::ClientA;
    if (text == "CLIENT_B")
        return ClientRole::ClientB;
    throw UsageError("unknown role " + in_quotes(text) + " (expected CLIENT_A or CLIENT_B)");
}

// The demo has options of its own and no game folders.
auto parse_demo_command(std::span<const std::string_view> args) -> Command {
    Command command{.kind = CommandKind::Demo};
    for (std::size_t index = 0; index < args.size(); ++index) {
        const std::string_view arg = args[index];
        const std::size_t equals = arg.find('=');
        const std::string_view name = arg.substr(0, equals);
        if (name == "--help" || name == "-h")
            return {.kind = CommandKind::DemoHelp};
        if (!arg.starts_with("--"))
            throw UsageError("demo takes no arguments besides its options, got " + in_quotes(arg));
        if (name == "--keep" || name == "--quick" || name == "--no-predict" || name == "--straight" ||
            name == "--compare") {
            if (equals != std::string_view::npos)
                throw UsageError("option " + std::string(name) + " takes no value");
            if (name == "--no-predict")
                command.demo.predict = false;
            else if (name == "--straight")
                command.demo.straight = true;
            else if (name == "--compare")
                command.demo.compare = true;
            else
                (name == "--keep" ? command.demo.keep : command.demo.quick) = true;
            continue;
        }
        if (name != "--dir")
            throw UsageError("unknown demo option " + in_quotes(name));
        std::string_view value;
        if (equals != std::string_view::npos)
            value = arg.substr(equals + 1);
        else if (index + 1 < args.size())
            value = args[++index];
        if (value.empty())
            throw UsageError("option --dir needs a directory");
        if (command.demo.dir)
            throw UsageError("option --dir given twice");
        command.demo.dir = os::utf8_path(value);
    }
    return command;
}

} // namespace

auto parse_command_line(std::span<const std::string_view> args) -> Command {
    if (!args.empty() && args[0] == "demo")
        return parse_demo_command(args.subspan(1));
    for (const auto arg : args)
        if (arg == "--help" || arg == "-h")
            return {.kind = CommandKind::Help};
    if (args.empty())
        throw UsageError("missing subcommand");
    if (args[0] == "--version")
        return {.kind = CommandKind::Version};

    const Subcommand* sub = nullptr;
    for (const auto& candidate : kSubcommands)
        if (candidate.name == args[0])
            sub = &candidate;
    if (!sub)
        throw UsageError("unknown subcommand " + in_quotes(args[0]));

    Command command{.kind = sub->kind};
    bool hzSeen = false;
    std::vector<std::string_view> positionals;
    for (std::size_t index = 1; index < args.size(); ++index) {
        const std::string_view arg = args[index];
        if (!arg.starts_with("--")) {
            positionals.push_back(arg);
            continue;
        }
        const std::size_t equals = arg.find('=');
        const std::string_view name = arg.substr(0, equals);
        if (name == "--no-predict" && sub->kind == CommandKind::Relay) {
            if (equals != std::string_view::npos)
                throw UsageError("option --no-predict takes no value");
            command.predict = false;
            continue;
        }
        if (name != "--hz" && name != "--duration")
            throw UsageError("unknown option " + in_quotes(name));
        if ((name == "--hz" && !sub->takesHz) || (name == "--duration" && !sub->takesDuration))
            throw UsageError("option " + std::string(name) + " does not apply to " + std::string(sub->name));
        std::string_view value;
        if (equals != std::string_view::npos)
            value = arg.substr(equals + 1);
        else if (index + 1 < args.size())
            value = args[++index];
        else
            throw UsageError("option " + std::string(name) + " needs a value");
        if ((name == "--hz" && hzSeen) || (name == "--duration" && command.duration))
            throw UsageError("option " + std::string(name) + " given twice");
        if (name == "--hz") {
            command.hz = parse_hz(value);
            hzSeen = true;
        } else {
            command.duration = parse_duration(value);
        }
    }
    if (positionals.size() < sub->minFolders || positionals.size() > sub->maxFolders)
        throw UsageError("wrong number of arguments; usage: korvath-session " + std::string(sub->shape));
    if (sub->kind == CommandKind::Role) {
        command.role = parse_role(positionals[1]);
        positionals.pop_back();
    }
    for (const auto positional : positionals)
        command.gameDirs.push_back(os::utf8_path(positional));
    return command;
}

auto check_game_folders(const Command& command) -> void {
    for (const auto& dir : command.gameDirs) {
        std::error_code error;
        if (!fs::is_directory(dir, error))
            throw UsageError("game folder " + in_quotes(dir.string()) + " does not exist or is no folder");
    }
    if (command.kind == CommandKind::Relay) {
        std::error_code error;
        if (fs::equivalent(command.gameDirs[0], command.gameDirs[1], error))
            throw UsageError("relay needs two different game folders");
    }
}

auto usage_text() -> std::string_view {
    return "usage: korvath-session SUBCOMMAND ...\n"
           "\n"
           "The outside session process of KorvathOnlineCpp. DIR is a game folder (the folder of the\n"
           "game's executable); its exchange files lie in DIR/KorvathOnline, created when missing.\n"
           "\n"
           "  role DIR CLIENT_A|CLIENT_B   write the role file (read by the mod when it loads)\n"
           "  enable DIR                   place the enable marker: ask for one proxy session\n"
           "  stop DIR                     place the stop marker: end the session, destroy the proxy\n"
           "  resume DIR                   remove the stop marker\n"
           "  relay DIR_A DIR_B [--hz N] [--duration S] [--no-predict]\n"
           "                               write each side's fresh local state into the other side's\n"
           "                               remote_players.tsv, N times a second (1..1000), predicted\n"
           "                               ahead to where the proxy will show it (default 100 Hz); with\n"
           "                               --no-predict the pose as it is (default 20 Hz)\n"
           "  watch DIR... [--duration S]  live view of each client's heartbeat, status and reports\n"
           "  demo [--dir DIR] [--keep] [--quick] [--no-predict] [--straight] [--compare]\n"
           "                               two simulated games in a whole session, shown live; writes a\n"
           "                               plot (see 'korvath-session demo --help')\n"
           "  --help, --version\n"
           "\n"
           "relay and watch run until SIGINT/SIGTERM, or for S seconds.\n"
           "Exit codes: 0 done, 1 a file could not be written, 2 bad arguments.\n";
}

} // namespace korvath::session_tool
