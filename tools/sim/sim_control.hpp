#pragma once
// Commands given to a running simulator through a control file, so that tests and soak runs can make
// the engine fail and recover, or change the map, in the middle of a session. The game thread takes
// the file (renames it, reads it, removes it) and applies its lines in order:
//   fail OP=MODE   the operation fails from its next call on (OP and MODE as for --fail)
//   clear          every engine fault ends
//   map NAME       a map change: the world and its actors (a proxy among them) are torn down, and a new
//                  world named NAME gets a new controller and local pawn at the old pawn's pose
//   key KEYS       a key pressed in the game, with its modifier keys: "key CTRL+F7", "key SHIFT+ALT+K";
//                  the tracker mode's host runs the script's bindings of it
// The writer places a new file only once the simulator has taken the last one.

#include "standin/Engine.hpp"
#include "tools/sim/stop_flag.hpp"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::sim {

// A control file longer than this is ignored whole.
inline constexpr std::uintmax_t kLargestControlFile = 4096;

// A key as the host's Key table names it ("F7", "K"), and its modifier keys as ModifierKey does
// ("CONTROL", "SHIFT", "ALT").
struct KeyPress {
    std::string key;
    std::vector<std::string> modifiers;
};

class SimControl {
public:
    SimControl(std::optional<std::filesystem::path> file, standin::GameWorld world, std::string mapName);

    // Game thread: applies the control file's commands when one is there, looking at most every 100 ms.
    auto poll(SteadyClock::time_point now) -> void;
    // Game thread: applies one command line; false (and nothing done) when it is not a command.
    auto apply(std::string_view line) -> bool;

    // The tracker mode's thread: the keys pressed since the last call, in order.
    auto take_key_presses() -> std::vector<KeyPress>;

    // Any thread: the current world's local pawn and controller, and the map's name.
    auto pawn() const -> standin::AActor*;
    auto controller() const -> standin::AActor*;
    auto map_name() const -> std::string;

private:
    std::optional<std::filesystem::path> m_file;
    SteadyClock::time_point m_lastLook{};
    mutable std::mutex m_mutex;
    standin::GameWorld m_world;
    std::string m_mapName;
    std::vector<KeyPress> m_keys; // not yet taken; under m_mutex
};

} // namespace korvath::sim
