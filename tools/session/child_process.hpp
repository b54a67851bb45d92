#pragma once
// A program the tool starts and owns: its standard output and error go to one log file, and it is
// ended with SIGTERM, then SIGKILL if it does not exit in time.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace korvath::session_tool {

class ChildProcess {
public:
    // Starts `program` with `args` (without the program name); standard input is /dev/null. Throws
    // std::runtime_error when it cannot be started.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& args,
                 const std::filesystem::path& logFile);
    // Kills a process that is still running and reaps it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The exit status once the process has ended (128 + the signal when a signal ended it); nothing
    // while it runs. Does not block.
    auto poll() -> std::optional<int>;
    // Sends SIGTERM, waits up to `grace`, then SIGKILL. Returns the exit status.
    auto terminate(std::chrono::milliseconds grace) -> int;

private:
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

} // namespace korvath::session_tool
