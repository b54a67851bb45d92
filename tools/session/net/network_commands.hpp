#pragma once
// `korvath-session host` and `join`: the session code, the socket, and the link run until stopped.

#include "tools/session/net/host_address.hpp"
#include "tools/session/net/session_code.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>

namespace korvath::session_tool {

struct HostCommand {
    std::filesystem::path gameDir;
    uint16_t port = kDefaultSessionPort; // 0: any free port
    int poseHz = 0;                      // 0: the default
    bool predict = true;
    std::optional<std::chrono::nanoseconds> duration; // nothing: until SIGINT/SIGTERM
    bool mapPort = true;                              // ask the home router to forward the port
    std::chrono::seconds mapLease{1200};              // the lease asked for, renewed half-way
};

// Set (to anything) in the environment, it turns the port mapping off as --no-map does: for scripts and
// tests that must not talk to the machine's router.
inline constexpr char kNoMapVariable[] = "KORVATH_SESSION_NO_MAP";

struct JoinCommand {
    HostAddress host;
    std::filesystem::path gameDir;
    SessionCode code;
    int poseHz = 0;
    bool predict = true;
    std::optional<std::chrono::nanoseconds> duration;
};

// Each prints what it does to `out` and returns the exit code; 1 when the socket cannot be opened or
// the host's name does not resolve.
auto run_host(const HostCommand& command, std::ostream& out) -> int;
auto run_join(const JoinCommand& command, std::ostream& out) -> int;

} // namespace korvath::session_tool
