#pragma once
// A program the tool starts and owns: its standard output and error go to one log file, and it is
// ended with SIGTERM, then SIGKILL if it does not exit in time. On Windows it gets Ctrl+Break and its
// stop event "Local\korvath-stop-<process id>" (which the simulator waits for; console events need a
// shared console), then its job is terminated, which takes any process it started along.

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvath::session_tool {

class ChildProcess {
public:
    // Starts `program` with `args` (without the program name); standard input is the null device. Throws
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
    // Waits for the process to end. Returns the exit status.
    auto wait() -> int;
    // Sends SIGTERM, waits up to `grace`, then SIGKILL. Returns the exit status.
    auto terminate(std::chrono::milliseconds grace) -> int;
    // The process id on POSIX, the process handle on Windows.
    auto native_handle() const -> std::intptr_t { return m_process; }

private:
    // The process id on POSIX; the process handle on Windows, with the handle of its job.
    std::intptr_t m_process = -1;
    std::intptr_t m_job = -1;
    unsigned long m_group = 0;
    std::intptr_t m_stopEvent = -1;
    std::optional<int> m_status;
};

} // namespace korvath::session_tool
