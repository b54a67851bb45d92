#include "tools/session/demo/child_process.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace korvath::session_tool {

namespace {

constexpr std::chrono::milliseconds kReapPoll{10};

auto as_pid(std::intptr_t process) -> pid_t {
    return static_cast<pid_t>(process);
}

auto exit_status(int status) -> int {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& args,
                           const std::filesystem::path& logFile) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    // The child starts with the default signal actions, whatever this process has set.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const auto& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        m_process = -1;
        throw std::runtime_error("cannot start " + program.string() + ": " + std::strerror(error));
    }
    m_process = pid;
}

ChildProcess::~ChildProcess() {
    if (as_pid(m_process) > 0 && !m_status) {
        kill(as_pid(m_process), SIGKILL);
        int status = 0;
        while (waitpid(as_pid(m_process), &status, 0) < 0 && errno == EINTR) {
        }
    }
}

auto ChildProcess::poll() -> std::optional<int> {
    if (m_status || as_pid(m_process) <= 0)
        return m_status;
    int status = 0;
    const pid_t done = waitpid(as_pid(m_process), &status, WNOHANG);
    if (done == as_pid(m_process))
        m_status = exit_status(status);
    return m_status;
}

auto ChildProcess::wait() -> int {
    if (!m_status) {
        int status = 0;
        while (waitpid(as_pid(m_process), &status, 0) < 0 && errno == EINTR) {
        }
        m_status = exit_status(status);
    }
    return *m_status;
}

auto ChildProcess::terminate(std::chrono::milliseconds grace) -> int {
    if (poll())
        return *m_status;
    kill(as_pid(m_process), SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    while (!poll() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kReapPoll);
    if (!m_status) {
        kill(as_pid(m_process), SIGKILL);
        int status = 0;
        while (waitpid(as_pid(m_process), &status, 0) < 0 && errno == EINTR) {
        }
        m_status = exit_status(status);
    }
    return *m_status;
}

} // namespace korvath::session_tool
