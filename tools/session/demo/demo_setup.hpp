#pragma once
// Where the demo runs: its directory, the two game folders in it, and the programs it starts.

#include "tools/session/exchange/client_controls.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvath::session_tool {

struct DemoPrograms {
    std::filesystem::path simulator;                 // korvath-sim
    std::optional<std::filesystem::path> modLibrary; // nothing: the simulator's own default
};

// korvath-sim next to this program, and the mod library of the same build. Throws std::runtime_error
// when the simulator is missing.
auto find_demo_programs() -> DemoPrograms;

// The demo's directory: `requested` (created when missing; it must be empty or hold an earlier
// demo, whose files are then removed), or a fresh temporary one. Throws std::runtime_error.
auto prepare_demo_dir(const std::optional<std::filesystem::path>& requested) -> std::filesystem::path;

// The files of one client in the demo directory.
struct DemoClientFiles {
    std::string name; // "A" or "B"
    ClientRole role;
    std::filesystem::path gameDir;  // client-a/
    std::filesystem::path log;      // client-a.log: the game's console and messages
    std::filesystem::path worldLog; // client-a.world.tsv
};

auto demo_client_files(const std::filesystem::path& dir, ClientRole role) -> DemoClientFiles;

// Creates the game folder with the role file and the enable marker, before the game starts.
auto lay_out_client(const DemoClientFiles& files) -> void;

// The command line of korvath-sim for this client.
auto simulator_arguments(const DemoClientFiles& files, const DemoPrograms& programs,
                         const std::vector<std::string>& extra) -> std::vector<std::string>;

// The files the demo leaves: the plot, the logs. The game folders are removed unless kept.
inline constexpr std::string_view kPlotFile = "demo.svg";

} // namespace korvath::session_tool
