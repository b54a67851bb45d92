#include "tools/sim/options.hpp"

#include "tools/cli/cli_app.hpp"
#include "tools/platform/os.hpp"
#include "tools/sim/text_values.hpp"

#include <functional>

namespace korvath::sim {

namespace {

constexpr double kMaxProcessEventHz = 1'000'000;

// Checks and stores one option's value; returns what was expected when the value is bad.
using Apply = std::function<std::optional<std::string>(std::string_view)>;

// An option taking a value; `repeatable` keeps every occurrence, otherwise a second one is an error.
auto add_value(CLI::App& app, const std::string& flag, const std::string& type, const std::string& help,
               Apply apply, bool repeatable = false) -> void {
    auto check = [flag, apply](const std::vector<std::string>& values) {
        for (const auto& value : values)
            if (auto problem = apply(value))
                throw CLI::ValidationError("invalid value '" + value + "' for " + flag + ": " + *problem);
    };
    auto* option = app.add_option_function<std::vector<std::string>>(flag, check, help)->type_name(type);
    option->allow_extra_args(false); // one value per occurrence
    if (!repeatable)
        option->expected(1);
}

auto positive_seconds(std::optional<double>& target, std::string_view value) -> std::optional<std::string> {
    const auto seconds = parse_number(value);
    if (!seconds || *seconds <= 0)
        return "expected a number of seconds > 0";
    target = *seconds;
    return std::nullopt;
}

auto parse_fault(std::string_view value) -> std::optional<FaultSetting> {
    const std::size_t equals = value.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    std::string_view modeText = value.substr(equals + 1);
    uint64_t fromCall = 1;
    if (const std::size_t at = modeText.find('@'); at != std::string_view::npos) {
        const auto n = parse_unsigned(modeText.substr(at + 1));
        if (!n || *n == 0)
            return std::nullopt;
        fromCall = *n;
        modeText = modeText.substr(0, at);
    }
    const auto op = standin::parse_op(value.substr(0, equals));
    const auto mode = standin::parse_fault_mode(modeText);
    if (!op || !mode)
        return std::nullopt;
    return FaultSetting{*op, standin::Fault{*mode, fromCall}};
}

auto absolute_path(std::optional<std::filesystem::path>& target, std::string_view value, const char* expected)
    -> std::optional<std::string> {
    if (value.empty())
        return expected;
    target = std::filesystem::absolute(os::utf8_path(value));
    return std::nullopt;
}

auto define_options(CLI::App& app, SimOptions& o) -> void {
    add_value(app, "--game-dir", "DIR",
              "folder of the game's executable; the simulator runs from a copy of itself\n"
              "there, so the mod's exchange directory is DIR/KorvathOnline",
              [&o](std::string_view v) -> std::optional<std::string> {
                  if (v.empty())
                      return "expected a directory";
                  o.gameDir = std::filesystem::absolute(os::utf8_path(v)).lexically_normal();
                  return std::nullopt;
              });
    app.get_option("--game-dir")->required();
    add_value(app, "--cwd", "DIR",
              "working directory of the game process (default: the game folder with\n"
              "--tracker, else the caller's)",
              [&o](std::string_view v) { return absolute_path(o.workingDir, v, "expected a directory"); });
    add_value(app, "--mod", "PATH",
              "mod library to install as DIR/Mods/KorvathOnlineCpp/dlls/main.dll (main.so\n"
              "on Linux) (default: the mod's library next to this program, else the build's own)",
              [&o](std::string_view v) { return absolute_path(o.modLibrary, v, "expected a library path"); });
    add_value(app, "--tick-ms", "MS", "period of on_host_tick on the update thread (default 5)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  const auto ms = parse_number(v);
                  if (!ms || *ms <= 0)
                      return "expected a number of milliseconds > 0";
                  o.tickMs = *ms;
                  return std::nullopt;
              });
    add_value(app, "--ready-after", "SECONDS",
              "when on_unreal_ready is called, fractional or 'never' (default 1)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  if (v == "never") {
                      o.readyAfterSeconds.reset();
                      return std::nullopt;
                  }
                  const auto seconds = parse_number(v);
                  if (!seconds || *seconds < 0)
                      return "expected a number of seconds >= 0 or 'never'";
                  o.readyAfterSeconds = *seconds;
                  return std::nullopt;
              });
    add_value(app, "--process-event-hz", "HZ",
              "ProcessEvent calls per second on the game thread, 0 for none (default 1000)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  const auto hz = parse_number(v);
                  if (!hz || *hz < 0 || *hz > kMaxProcessEventHz)
                      return "expected calls per second from 0 to 1000000";
                  o.processEventHz = *hz;
                  return std::nullopt;
              });
    add_value(app, "--duration", "SECONDS", "stop after this time (default: run until signalled)",
              [&o](std::string_view v) { return positive_seconds(o.durationSeconds, v); });
    add_value(app, "--pawn", "X,Y,Z,YAW", "start pose of the local pawn (default 0,0,100,0)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  const auto values = parse_numbers(v, ',', 4);
                  if (!values)
                      return "expected X,Y,Z,YAW";
                  o.pawn = standin::Pose{(*values)[0], (*values)[1], (*values)[2], 0, (*values)[3], 0};
                  return std::nullopt;
              });
    add_value(app, "--engine", "MAJOR.MINOR", "engine version, 4.x or 5.x (default 5.1)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  const auto parts = split(v, '.');
                  const auto major = parts.size() == 2 ? parse_unsigned(parts[0]) : std::nullopt;
                  const auto minor = parts.size() == 2 ? parse_unsigned(parts[1]) : std::nullopt;
                  if (!major || !minor || *major < 4 || *major > 5 || *minor > 99)
                      return "expected MAJOR.MINOR of engine 4 or 5, e.g. 4.27 or 5.1";
                  o.engineMajor = static_cast<int32_t>(*major);
                  o.engineMinor = static_cast<int32_t>(*minor);
                  return std::nullopt;
              });
    add_value(app, "--map", "NAME", "map name of the world and of local_state.tsv (default Map_A)",
              [&o](std::string_view v) -> std::optional<std::string> {
                  for (const char c : v)
                      if (c <= ' ' || c > '~')
                          return "expected a map name of printable ASCII without blanks";
                  o.mapName = std::string(v);
                  return std::nullopt;
              });
    add_value(app, "--walk", "PLAN",
              "circle:RADIUS,SPEED\n"
              "  walk out to a circle centred on the start, then around it (units, units/s)\n"
              "waypoints:X,Y;X,Y;...[@SPEED]\n"
              "  walk to each point in turn, looping (default speed 600 units/s)\n"
              "path:X,Y;X,Y;...[@SPEED]\n"
              "  walk to each point in turn once, then stand",
              [&o](std::string_view v) -> std::optional<std::string> {
                  std::string error;
                  auto plan = parse_walk_plan(v, error);
                  if (!plan)
                      return error;
                  o.walk = std::move(*plan);
                  return std::nullopt;
              });
    app.add_flag_callback(
        "--no-local-state", [&o] { o.writeLocalState = false; },
        "do not write KorvathOnline/local_state.tsv (written 20 times a second)");
    app.add_flag("--tracker", o.tracker,
                 "the pose tracker script writes local_state.tsv instead: installed as\n"
                 "DIR/Mods/KorvathTracker/Scripts/main.lua and run in a stand-in of the\n"
                 "host's Lua side (not in the Windows build); while DIR/KorvathTracker.stop\n"
                 "exists the host runs none of its loops, so the local state goes stale");
    add_value(
        app, "--fail", "OP=MODE[@N]",
        "make an engine operation fail, from its N-th call on (repeatable)\n"
        "OP: controller class world spawn move destroy pawn relocate\n"
        "    hidden collision tick fullname\n"
        "MODE: missing false throw throw-unknown",
        [&o](std::string_view v) -> std::optional<std::string> {
            const auto fault = parse_fault(v);
            if (!fault)
                return "expected OP=MODE[@N]: OP one of controller, class, world, spawn, move, destroy, "
                       "pawn, "
                       "relocate, hidden, collision, tick, fullname; MODE one of missing, false, throw, "
                       "throw-unknown; N >= 1";
            o.faults.push_back(*fault);
            return std::nullopt;
        },
        true);
    app.add_flag_callback(
        "--latency-probe", [&o] { o.latencyProbe = true; },
        "act as the outside process: place the enable marker, then alternate the\n"
        "remote pose between two points every 150 to 300 ms; at the end print the\n"
        "median and 99th percentile of the time from a new pose to the proxy's\n"
        "first move toward it");
    add_value(app, "--world-log", "FILE",
              "every 50 ms one tab-separated line per actor: seconds, full name, class,\n"
              "x, y, z, yaw, hidden, collision, tick, alive, steady clock seconds",
              [&o](std::string_view v) { return absolute_path(o.worldLog, v, "expected a file path"); });
    add_value(app, "--control", "FILE",
              "take commands from FILE while running (the file is removed once read), one\n"
              "a line: 'fail OP=MODE' (from the next call on), 'clear' (all faults end),\n"
              "'map NAME' (a map change: the world and every actor in it are replaced),\n"
              "'key KEYS' (with --tracker: a key pressed in the game, such as CTRL+F7)",
              [&o](std::string_view v) { return absolute_path(o.controlFile, v, "expected a file path"); });
}

} // namespace

auto parse_command_line(std::span<const char* const> args) -> ParsedCommandLine {
    using Action = ParsedCommandLine::Action;
    CLI::App app(
        R"(Runs one simulated game process with the mod loaded: the host's update thread, the engine-ready
hook and a game thread making ProcessEvent calls, over a world with the player controller and the
local pawn. The mod's console lines go to standard output, the simulator's own messages to
standard error. Runs until SIGINT or SIGTERM (on Windows: Ctrl+C, Ctrl+Break or the session tool's
stop event), or for --duration seconds; then exits 0. Bad arguments exit 2.)",
        "korvath-sim");
    cli::configure_app(app, 28);
    app.add_flag_callback(
        "--version", [] { throw CLI::CallForVersion(); }, "print the version and exit");
    ParsedCommandLine result{Action::Run, {}, {}};
    define_options(app, result.options);
    try {
        const std::vector<std::string_view> views(args.begin(), args.end());
        cli::parse(app, views);
    } catch (const CLI::CallForHelp&) {
        return {Action::Help, {}, app.help()};
    } catch (const CLI::CallForVersion&) {
        return {Action::Version, {}, version_text()};
    } catch (const CLI::ParseError& error) {
        return {Action::Error, {}, error.what()};
    }
    return result;
}

auto version_text() -> std::string {
    return "korvath-sim " KORVATH_SIM_VERSION "\n";
}

} // namespace korvath::sim
