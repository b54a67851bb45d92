#include "tools/sim/options.hpp"

#include "tools/platform/os.hpp"

#include "tools/sim/text_values.hpp"

#include <array>
#include <cmath>
#include <functional>

namespace korvath::sim {

namespace {

constexpr double kMaxProcessEventHz = 1'000'000;

// Applies one option's value; returns an explanation of what was expected when the value is bad.
using Apply = std::function<std::optional<std::string>(SimOptions&, std::string_view)>;

struct Flag {
    std::string_view name;
    bool takesValue;
    Apply apply;
};

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

auto flags() -> const std::array<Flag, 15>& {
    static const std::array<Flag, 15> table{{
        {"--game-dir", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             if (v.empty())
                 return "expected a directory";
             o.gameDir = std::filesystem::absolute(os::utf8_path(v)).lexically_normal();
             return std::nullopt;
         }},
        {"--mod", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             if (v.empty())
                 return "expected a library path";
             o.modLibrary = std::filesystem::absolute(os::utf8_path(v));
             return std::nullopt;
         }},
        {"--tick-ms", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             const auto ms = parse_number(v);
             if (!ms || *ms <= 0)
                 return "expected a number of milliseconds > 0";
             o.tickMs = *ms;
             return std::nullopt;
         }},
        {"--ready-after", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             if (v == "never") {
                 o.readyAfterSeconds.reset();
                 return std::nullopt;
             }
             const auto seconds = parse_number(v);
             if (!seconds || *seconds < 0)
                 return "expected a number of seconds >= 0 or 'never'";
             o.readyAfterSeconds = *seconds;
             return std::nullopt;
         }},
        {"--process-event-hz", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             const auto hz = parse_number(v);
             if (!hz || *hz < 0 || *hz > kMaxProcessEventHz)
                 return "expected calls per second from 0 to 1000000";
             o.processEventHz = *hz;
             return std::nullopt;
         }},
        {"--duration", true,
         [](SimOptions& o, std::string_view v) { return positive_seconds(o.durationSeconds, v); }},
        {"--pawn", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             const auto values = parse_numbers(v, ',', 4);
             if (!values)
                 return "expected X,Y,Z,YAW";
             o.pawn = standin::Pose{(*values)[0], (*values)[1], (*values)[2], 0, (*values)[3], 0};
             return std::nullopt;
         }},
        {"--engine", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             const auto parts = split(v, '.');
             const auto major = parts.size() == 2 ? parse_unsigned(parts[0]) : std::nullopt;
             const auto minor = parts.size() == 2 ? parse_unsigned(parts[1]) : std::nullopt;
             if (!major || !minor || *major < 4 || *major > 5 || *minor > 99)
                 return "expected MAJOR.MINOR of engine 4 or 5, e.g. 4.27 or 5.1";
             o.engineMajor = static_cast<int32_t>(*major);
             o.engineMinor = static_cast<int32_t>(*minor);
             return std::nullopt;
         }},
        {"--map", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             for (const char c : v)
                 if (c <= ' ' || c > '~')
                     return "expected a map name of printable ASCII without blanks";
             o.mapName = std::string(v);
             return std::nullopt;
         }},
        {"--walk", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             std::string error;
             auto plan = parse_walk_plan(v, error);
             if (!plan)
                 return error;
             o.walk = std::move(*plan);
             return std::nullopt;
         }},
        {"--latency-probe", false,
         [](SimOptions& o, std::string_view) -> std::optional<std::string> {
             o.latencyProbe = true;
             return std::nullopt;
         }},
        {"--no-local-state", false,
         [](SimOptions& o, std::string_view) -> std::optional<std::string> {
             o.writeLocalState = false;
             return std::nullopt;
         }},
        {"--fail", true,
         [](SimOptions& o, std::string_view v) -> std::optional<std::string> {
             const auto fault = parse_fault(v);
             if (!fault)
                 return "expected OP=MODE[@N]: OP one of controller, class, world, spawn, move, destroy, "
                        "pawn, "
                        "relocate, hidden, collision, tick, fullname; MODE one of missing, false, throw, "
                        "throw-unknown; N >= 1";
             o.faults.push_back(*fault);
             return std::nullopt;
         }},
        {"--control", true,
         [](SimOptions& o, std::string_view v) -> std::
                                                   optional<std::string> {
                                                       if (v.empty())
                                                           return "expected a file path";
                                                       o.controlFile =
                                                           std::filesystem::absolute(os::utf8_path(v));
                                                       return std::nullopt;
                                                   }},
        {"--world-log", true,
         [](SimOptions& o, std::string_view v) -> std::
                                                   optional<std::string> {
                                                       if (v.empty())
                                                           return "expected a file path";
                                                       o.worldLog =
                                                           std::filesystem::absolute(os::utf8_path(v));
                                                       return std::nullopt;
                                                   }},
    }};
    return table;
}

auto find_flag(std::string_view name) -> const Flag* {
    for (const auto& flag : flags())
        if (flag.name == name)
            return &flag;
    return nullptr;
}

auto failure(std::string message) -> ParsedCommandLine {
    return ParsedCommandLine{ParsedCommandLine::Action::Error, {}, std::move(message)};
}

} // namespace

auto parse_command_line(std::span<const char* const> args) -> ParsedCommandLine {
    ParsedCommandLine result{ParsedCommandLine::Action::Run, {}, {}};
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string_view arg = args[i];
        if (arg == "--help" || arg == "-h")
            return {ParsedCommandLine::Action::Help, {}, {}};
        if (arg == "--version")
            return {ParsedCommandLine::Action::Version, {}, {}};
        if (!arg.starts_with("--"))
            return failure("unexpected argument '" + std::string(arg) + "'");

        std::optional<std::string_view> value;
        if (const std::size_t equals = arg.find('='); equals != std::string_view::npos) {
            value = arg.substr(equals + 1);
            arg = arg.substr(0, equals);
        }
        const Flag* flag = find_flag(arg);
        if (!flag)
            return failure("unknown option '" + std::string(arg) + "'");
        if (!flag->takesValue && value)
            return failure("option " + std::string(arg) + " takes no value");
        if (flag->takesValue && !value) {
            if (i + 1 == args.size())
                return failure("option " + std::string(arg) + " needs a value");
            value = args[++i];
        }
        if (auto problem = flag->apply(result.options, value.value_or("")))
            return failure("invalid value '" + std::string(*value) + "' for " + std::string(arg) + ": " +
                           *problem);
    }
    if (result.options.gameDir.empty())
        return failure("missing required option --game-dir");
    return result;
}

auto usage_text() -> std::string {
    return R"(Usage: korvath-sim --game-dir DIR [options]

Runs one simulated game process with the mod loaded: the host's update thread, the engine-ready
hook and a game thread making ProcessEvent calls, over a world with the player controller and the
local pawn. The mod's console lines go to standard output, the simulator's own messages to
standard error. Runs until SIGINT or SIGTERM (on Windows: Ctrl+C, Ctrl+Break or the session tool's
stop event), or for --duration seconds; then exits 0.

  --game-dir DIR          folder of the game's executable (required); the simulator runs from a copy
                          of itself there, so the mod's exchange directory is DIR/KorvathOnline
  --mod PATH              mod library to install as DIR/Mods/KorvathOnlineCpp/dlls/main.dll (main.so
                          on Linux) (default: the mod's library next to this program, else the build's own)
  --tick-ms MS            period of on_host_tick on the update thread (default 5)
  --ready-after SECONDS   when on_unreal_ready is called, fractional or 'never' (default 1)
  --process-event-hz HZ   ProcessEvent calls per second on the game thread, 0 for none (default 1000)
  --duration SECONDS      stop after this time (default: run until signalled)
  --pawn X,Y,Z,YAW        start pose of the local pawn (default 0,0,100,0)
  --engine MAJOR.MINOR    engine version, 4.x or 5.x (default 5.1)
  --map NAME              map name of the world and of local_state.tsv (default Map_A)
  --walk circle:RADIUS,SPEED
                          walk out to a circle centred on the start, then around it (units, units/s)
  --walk waypoints:X,Y;X,Y;...[@SPEED]
                          walk to each point in turn, looping (default speed 600 units/s)
  --walk path:X,Y;X,Y;...[@SPEED]
                          walk to each point in turn once, then stand
  --no-local-state        do not write KorvathOnline/local_state.tsv (written 10 times a second)
  --fail OP=MODE[@N]      make an engine operation fail, from its N-th call on (repeatable)
                          OP: controller class world spawn move destroy pawn relocate
                              hidden collision tick fullname
                          MODE: missing false throw throw-unknown
  --latency-probe         act as the outside process: place the enable marker, then alternate the
                          remote pose between two points every 150 to 300 ms; at the end print the
                          median and 99th percentile of the time from a new pose to the proxy's
                          first move toward it
  --world-log FILE        every 100 ms one tab-separated line per actor: seconds, full name, class,
                          x, y, z, yaw, hidden, collision, tick, alive, steady clock seconds
  --control FILE          take commands from FILE while running (the file is removed once read), one
                          a line: 'fail OP=MODE' (from the next call on), 'clear' (all faults end),
                          'map NAME' (a map change: the world and every actor in it are replaced)
  --help                  print this text
  --version               print the version
)";
}

auto version_text() -> std::string {
    return "korvath-sim " KORVATH_SIM_VERSION "\n";
}

} // namespace korvath::sim
