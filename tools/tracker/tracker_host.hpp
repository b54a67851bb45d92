#pragma once
// Runs the pose tracker script in an embedded Lua 5.4 through the stand-in of the host's Lua side
// (host_standin.lua), with the pawn's pose supplied by the caller: the simulator's tracker mode and the
// tests that check what the mod reads from the tracker's file. Not thread-safe: one thread drives an
// instance.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct lua_State;

namespace korvath::tracker {

struct TrackedPose {
    double x = 0, y = 0, z = 0, yaw = 0;
};

// The local pawn's pose at this moment; nothing while there is no pawn.
using PoseSource = std::function<std::optional<TrackedPose>()>;

// The current host the script runs in, whose working directory is the process's (host_standin.lua
// describes each setting).
struct HostSettings {
    std::string mapName = "Map_A";
    std::filesystem::path gameDir; // the game executable's folder; empty: none known
    bool utf8CodePage = false;     // else the ANSI code page spells ASCII only
    std::optional<double> frameMs; // the game thread's turns; none: the host's default
    bool callerFrames = false;     // each advance_to is a frame: one game-thread turn at its time
    bool echo = false;             // console lines also to standard output
};

// The stand-in and the tracker script of this source tree.
auto standin_script() -> std::filesystem::path;
auto tracker_script() -> std::filesystem::path;

class TrackerHost {
public:
    // Loads the stand-in, installs its globals and runs `script`. Throws std::runtime_error with Lua's
    // message.
    TrackerHost(const std::filesystem::path& script, const HostSettings& settings, PoseSource pose);
    ~TrackerHost();
    TrackerHost(const TrackerHost&) = delete;
    auto operator=(const TrackerHost&) -> TrackerHost& = delete;

    // Moves the host's clock to `ms` (milliseconds since the host started), running what falls due.
    auto advance_to(int64_t ms) -> void;
    // A map change: new engine objects, then the script's load-map hooks.
    auto load_map(const std::string& mapName) -> void;
    // Errors raised by the script's callbacks, which the host only logs.
    auto errors() -> std::vector<std::string>;
    // The script's console lines so far.
    auto console() -> std::vector<std::string>;
    // A key pressed with modifier keys ("CONTROL", "SHIFT", "ALT"): runs the script's bindings of exactly
    // that combination. Returns how many ran; throws std::runtime_error for a name the host has not.
    auto press_key(const std::string& key, const std::vector<std::string>& modifiers) -> int;

private:
    static auto pose_callback(lua_State* lua) -> int;
    // Calls method `name` of the stand-in's host object with the values pushed by `push_arguments`.
    auto call(const char* name, const std::function<int()>& push_arguments, int results = 0) -> void;
    // The strings of the host object's list `name`.
    auto string_list(const char* name) -> std::vector<std::string>;

    lua_State* m_lua;
    PoseSource m_pose;
    int m_host = 0; // registry reference of the stand-in's host object
};

} // namespace korvath::tracker
