#pragma once
// The command line of korvath-sim.

#include "standin/Engine.hpp"
#include "tools/sim/walker.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace korvath::sim {

struct FaultSetting {
    standin::Op op{};
    standin::Fault fault;
};

struct SimOptions {
    std::filesystem::path gameDir;                   // absolute
    std::optional<std::filesystem::path> workingDir; // absolute; none: as the game folder's setup leaves it
    std::optional<std::filesystem::path> modLibrary; // none: the build's own mod library
    double tickMs{5};
    std::optional<double> readyAfterSeconds{1.0}; // none: the engine never reports ready
    double processEventHz{1000};
    std::optional<double> durationSeconds; // none: run until signalled
    standin::Pose pawn{0, 0, 100, 0, 0, 0};
    int32_t engineMajor{5};
    int32_t engineMinor{1};
    std::string mapName{"Map_A"};
    WalkPlan walk;
    bool writeLocalState{true};
    bool tracker{false}; // the pose tracker script writes the local state, not the simulator
    std::vector<FaultSetting> faults;
    std::optional<std::filesystem::path> worldLog;
    std::optional<std::filesystem::path> controlFile;
    bool latencyProbe{false};
};

struct ParsedCommandLine {
    enum class Action { Run, Help, Version, Error };
    Action action{Action::Error};
    SimOptions options;
    std::string text; // error: names the offending argument; help, version: the text to print
};

// `args` excludes the program name. Accepts "--flag value" and "--flag=value".
auto parse_command_line(std::span<const char* const> args) -> ParsedCommandLine;
auto version_text() -> std::string;

} // namespace korvath::sim
