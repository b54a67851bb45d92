#include "tools/session/command_line.hpp"

#include "tools/cli/cli_app.hpp"
#include "tools/platform/os.hpp"

#include <charconv>
#include <cmath>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr int kMaxHz = 1000;
constexpr int kMinPoseHz = 20;
constexpr int kMaxPoseHz = 60;
constexpr double kMaxDurationSeconds = 1.0e8;

auto in_quotes(std::string_view text) -> std::string {
    return "'" + std::string(text) + "'";
}

// A whole number of `option` within [min, max]; decimal digits only.
auto parse_whole_number(std::string_view option, std::string_view text, int min, int max) -> int {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < min ||
        value > max)
        throw UsageError(std::string(option) + " must be a whole number from " + std::to_string(min) +
                         " to " + std::to_string(max) + ", got " + in_quotes(text));
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

// A subcommand that makes `command` of `kind` when given.
auto add_command(CLI::App& app, Command& command, std::string name, CommandKind kind, std::string description)
    -> CLI::App& {
    CLI::App& sub = *app.add_subcommand(std::move(name), std::move(description));
    cli::add_help_flag(sub);
    sub.callback([&command, kind] { command.kind = kind; });
    return sub;
}

// A game folder, appended to the command's in the order given.
auto add_folder(CLI::App& sub, Command& command, std::string name, std::string help, bool required = true)
    -> void {
    sub.add_option_function<std::string>(
           std::move(name),
           [&command](const std::string& dir) { command.gameDirs.push_back(os::utf8_path(dir)); },
           std::move(help))
        ->required(required)
        ->type_name("");
}

auto add_duration(CLI::App& sub, Command& command) -> void {
    sub.add_option_function<std::string>(
           "--duration", [&command](const std::string& value) { command.duration = parse_duration(value); },
           "stop after S seconds (default: run until SIGINT or SIGTERM)")
        ->type_name("S");
}

// host and join: this game's pose to the other machine and the other player's back, over UDP.
auto add_network_commands(CLI::App& app, Command& command) -> void {
    const auto add_common = [&command](CLI::App& sub) {
        sub.add_option_function<std::string>(
               "--hz",
               [&command](const std::string& value) {
                   command.hz = parse_whole_number("--hz", value, kMinPoseHz, kMaxPoseHz);
               },
               "poses sent per second, 20 to 60 (default 30)")
            ->type_name("N");
        add_duration(sub, command);
        sub.add_flag_callback(
            "--no-predict", [&command] { command.predict = false; },
            "write the other player's pose as it arrives instead of predicting it");
    };
    auto& host = add_command(app, command, "host", CommandKind::Host,
                             "print a session code and link this game with the one that\n"
                             "joins with it: each side's pose into the other's\n"
                             "remote_players.tsv, over UDP (see README)");
    add_folder(host, command, "DIR", "game folder");
    host.add_option_function<std::string>(
            "--port",
            [&command](const std::string& value) {
                const auto port = parse_port(value, true);
                if (!port)
                    throw UsageError("--port must be a whole number from 0 to 65535, got " +
                                     in_quotes(value));
                command.port = *port;
            },
            "UDP port to listen on (default 47810; 0: any free port)")
        ->type_name("P");
    host.add_flag_callback(
        "--no-map", [&command] { command.mapPort = false; },
        "do not ask the home router (UPnP, NAT-PMP) to forward the port");
    host.add_option_function<std::string>(
            "--map-lease",
            [&command](const std::string& value) {
                command.mapLease = std::chrono::seconds(parse_whole_number("--map-lease", value, 4, 86400));
            },
            "lease of the port mapping in seconds, renewed half-way (default 1200)")
        ->type_name("S");
    add_common(host);

    auto& join = add_command(app, command, "join", CommandKind::Join,
                             "link this game with the host's, given its address and code");
    join.add_option_function<std::string>(
            "HOST",
            [&command](const std::string& value) {
                const auto peer = parse_host_address(value);
                if (!peer)
                    throw UsageError("bad host address " + in_quotes(value) +
                                     " (expected HOST, HOST:PORT or [IPv6]:PORT)");
                command.peer = *peer;
            },
            "the host's name or address, with :PORT when not 47810")
        ->required()
        ->type_name("");
    add_folder(join, command, "DIR", "game folder");
    join.add_option_function<std::string>(
            "--code",
            [&command](const std::string& value) {
                const auto code = parse_session_code(value);
                if (!code)
                    throw UsageError("--code must be the 24 characters the host printed");
                command.code = *code;
            },
            "the session code the host printed")
        ->required()
        ->type_name("CODE");
    add_common(join);
}

// Every subcommand and its options. A new subcommand: a CommandKind, an add_command here with its
// options writing into `command`, and its case in the program's run().
auto define_commands(CLI::App& app, Command& command) -> void {
    auto& role = add_command(app, command, "role", CommandKind::Role,
                             "write the role file (read by the mod when it loads)");
    add_folder(role, command, "DIR", "game folder");
    role.add_option_function<std::string>(
            "ROLE", [&command](const std::string& value) { command.role = parse_role(value); },
            "CLIENT_A or CLIENT_B")
        ->required()
        ->type_name("");

    add_folder(add_command(app, command, "enable", CommandKind::Enable,
                           "place the enable marker: ask for one proxy session"),
               command, "DIR", "game folder");
    add_folder(add_command(app, command, "stop", CommandKind::Stop,
                           "place the stop marker: end the session, destroy the proxy"),
               command, "DIR", "game folder");
    add_folder(add_command(app, command, "resume", CommandKind::Resume, "remove the stop marker"), command,
               "DIR", "game folder");

    auto& relay = add_command(app, command, "relay", CommandKind::Relay,
                              "write each side's fresh local state into the other side's\n"
                              "remote_players.tsv, predicted ahead to where the proxy will\n"
                              "show it (looked at N times a second, default 53; the row is\n"
                              "written when it changes for the mod); with --no-predict the\n"
                              "pose as it is (default 25 Hz)");
    add_folder(relay, command, "DIR_A", "one game folder");
    add_folder(relay, command, "DIR_B", "the other game folder");
    relay
        .add_option_function<std::string>(
            "--hz",
            [&command](const std::string& value) {
                command.hz = parse_whole_number("--hz", value, 1, kMaxHz);
            },
            "looks at the local states per second, 1 to 1000 (default 53, with\n"
            "--no-predict 25)")
        ->type_name("N");
    add_duration(relay, command);
    relay.add_flag_callback(
        "--no-predict", [&command] { command.predict = false; },
        "relay each pose as it is instead of predicting it");

    auto& watch = add_command(app, command, "watch", CommandKind::Watch,
                              "live view of each client's heartbeat, status and reports");
    watch
        .add_option_function<std::vector<std::string>>(
            "DIR",
            [&command](const std::vector<std::string>& dirs) {
                for (const auto& dir : dirs)
                    command.gameDirs.push_back(os::utf8_path(dir));
            },
            "game folders, one or more")
        ->required()
        ->type_name("");
    add_duration(watch, command);

    add_network_commands(app, command);

    auto& doctor = add_command(app, command, "doctor", CommandKind::Doctor,
                               "check one or two game folders for what stands in the way of\n"
                               "a session: the host, both mods, the role, the reports");
    add_folder(doctor, command, "DIR", "game folder");
    add_folder(doctor, command, "DIR_B", "the other game folder", false);
    auto& setup = add_command(app, command, "setup", CommandKind::Setup,
                              "install this package into one or two game folders (both\n"
                              "mods, enabled; roles A and B; a start script), then doctor");
    add_folder(setup, command, "DIR_A", "game folder of CLIENT_A");
    add_folder(setup, command, "DIR_B", "game folder of CLIENT_B", false);
    setup
        .add_option_function<std::string>(
            "--dll", [&command](const std::string& value) { command.dll = os::utf8_path(value); },
            "install FILE as Mods/KorvathOnlineCpp/dlls/main.dll")
        ->type_name("FILE");
    setup
        .add_option_function<std::string>(
            "--from", [&command](const std::string& value) { command.from = os::utf8_path(value); },
            "the unpacked package (default: this program's folder)")
        ->type_name("DIR");
    setup.footer("A file it replaces is kept as NAME.before-setup. Running it again changes nothing.\n"
                 "Exit codes: 0 installed and nothing stands in the way of a session, 1 a step failed or\n"
                 "doctor found a problem, 2 bad arguments.");

    doctor.footer("Prints one line per check: ok, note (worth knowing) or FAIL with what to do.\n"
                  "Exit codes: 0 nothing stands in the way of a session, 1 something does, 2 bad arguments.");

    auto& demo = add_command(app, command, "demo", CommandKind::Demo,
                             "two simulated games in a whole session, shown live; writes a\n"
                             "plot (see 'korvath-session demo --help')");
    demo.footer(
        "Runs two simulated games side by side with the mod, CLIENT_A walking a circle and CLIENT_B\n"
        "standing, relays each one's pose to the other, and shows the session live:\n"
        "  1. both games start; CLIENT_B moves its pawn 800 units aside 2 s after its engine is ready;\n"
        "  2. each session starts after the enable marker and 7 s of fresh local state; each game\n"
        "     spawns a proxy of the other player;\n"
        "  3. the proxies follow for 6 s (B's proxy of A trails A's walk);\n"
        "  4. a stop marker in CLIENT_A: A's proxy is destroyed as \"kill-switch\";\n"
        "  5. the relay to CLIENT_B stops: B's proxy of A is destroyed as \"remote-player-stale\"\n"
        "     (the remote row goes stale after 2 s, the proxy 3 s later).\n"
        "Then it stops both games, prints a summary and writes demo.svg: A's path and B's proxy of A\n"
        "in the x/y plane, and their distance over time. About 21 s in all.\n"
        "\n"
        "Exit codes: 0 the session went as expected, 1 it did not (the reason is printed),\n"
        "2 bad arguments, 130 interrupted (Ctrl-C); the games are stopped in every case.");
    demo.add_option_function<std::string>(
            "--dir",
            [&command](const std::string& value) {
                if (value.empty())
                    throw UsageError("option --dir needs a directory");
                command.demo.dir = os::utf8_path(value);
            },
            "work in DIR (created when missing; empty or from an earlier demo)\n"
            "instead of a fresh temporary directory")
        ->type_name("DIR");
    demo.add_flag("--keep", command.demo.keep,
                  "keep the two game folders (client-a/, client-b/: the installed\n"
                  "game and mod and their exchange files); the plot, the world logs\n"
                  "and the game logs always stay");
    demo.add_flag("--quick", command.demo.quick, "follow for 4 s instead of 6 s (about 19 s in all)");
    demo.add_flag_callback(
        "--no-predict", [&command] { command.demo.predict = false; },
        "relay each pose as it is, 20 times a second, instead of predicting\n"
        "where the player will be when the proxy shows it, 100 times a second");
    demo.add_flag("--straight", command.demo.straight,
                  "CLIENT_A walks along x and stops dead 12 s after its start, in the\n"
                  "following phase; the summary tells how far B's proxy of A overshoots\n"
                  "and how soon it settles within 1 unit");
    demo.add_flag("--compare", command.demo.compare,
                  "CLIENT_B walks as CLIENT_A does, and the relay predicts A's pose for B\n"
                  "but passes B's on to A as it is (20 times a second): one run shows both\n"
                  "trails, B's proxy of A with prediction and A's proxy of B without");
    demo.add_flag("--tracker", command.demo.tracker,
                  "each game's local state comes from the pose tracker script run in\n"
                  "the simulator's stand-in of the host's Lua side (korvath-sim\n"
                  "--tracker), not from the simulator; in step 5 A's tracker stops\n"
                  "instead of the relay to B, so B's proxy of A goes about 8 s later (A's\n"
                  "local state stale after 3 s, then the relay stops writing to B)");
}

} // namespace

auto parse_command_line(std::span<const std::string_view> args) -> Command {
    CLI::App app("The outside session process of KorvathOnlineCpp. DIR is a game folder (the folder of the\n"
                 "game's executable); its exchange files lie in DIR/KorvathOnline, created when missing.",
                 "korvath-session");
    cli::configure_app(app, 30);
    app.footer("relay, watch, host and join run until SIGINT/SIGTERM, or for S seconds. Each subcommand's "
               "arguments:\n"
               "korvath-session SUBCOMMAND --help.\n"
               "Exit codes: 0 done, 1 a file could not be written or the network not used, 2 bad arguments.");
    const CLI::Option* version = app.add_flag("--version")->description("print the version and exit");
    Command command;
    define_commands(app, command);

    const auto subcommand = [&app] {
        const auto parsed = app.get_subcommands();
        return parsed.empty() ? std::string() : parsed.front()->get_name();
    };
    try {
        cli::parse(app, args);
    } catch (const CLI::CallForHelp&) {
        return {.kind = CommandKind::Help, .helpText = app.help()};
    } catch (const CLI::ExtrasError& error) {
        if (subcommand().empty() && !args.empty() && !args[0].starts_with('-'))
            throw UsageError("unknown subcommand " + in_quotes(args[0]));
        throw UsageError(error.what(), subcommand());
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what(), subcommand());
    } catch (const UsageError& error) {
        throw UsageError(error.what(), subcommand());
    }
    if (*version)
        return {.kind = CommandKind::Version};
    if (subcommand().empty())
        throw UsageError("missing subcommand");
    return command;
}

auto check_game_folders(const Command& command) -> void {
    for (const auto& dir : command.gameDirs) {
        std::error_code error;
        if (!fs::is_directory(dir, error))
            throw UsageError("game folder " + in_quotes(dir.string()) + " does not exist or is no folder");
    }
    if (command.dll) {
        std::error_code error;
        if (!fs::is_regular_file(*command.dll, error))
            throw UsageError("--dll " + in_quotes(command.dll->string()) + " is no file");
    }
    if (command.from) {
        std::error_code error;
        if (!fs::is_directory(*command.from, error))
            throw UsageError("--from " + in_quotes(command.from->string()) + " is no folder");
    }
    if (command.kind == CommandKind::Relay ||
        (command.kind == CommandKind::Setup && command.gameDirs.size() == 2)) {
        std::error_code error;
        if (fs::equivalent(command.gameDirs[0], command.gameDirs[1], error))
            throw UsageError("two different game folders are needed");
    }
}

} // namespace korvath::session_tool
