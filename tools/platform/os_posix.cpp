#include "tools/platform/os.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvath::os {

namespace {

auto argv_of(const std::filesystem::path& program, const std::vector<std::string>& args)
    -> std::vector<char*> {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (std::size_t i = 1; i < args.size(); ++i)
        argv.push_back(const_cast<char*>(args[i].c_str()));
    argv.push_back(nullptr);
    return argv;
}

} // namespace

auto this_executable() -> std::filesystem::path {
    return std::filesystem::read_symlink("/proc/self/exe");
}

auto utf8_arguments(int argc, char** argv) -> std::vector<std::string> {
    return {argv, argv + argc};
}

auto use_binary_stdio() -> void {}

auto set_environment(const char* name, const char* value) -> void {
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

auto ignore_broken_pipe() -> void {
    std::signal(SIGPIPE, SIG_IGN);
}

auto make_temporary_directory(std::string_view prefix) -> std::filesystem::path {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + std::string(prefix) + "-XXXXXX";
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("cannot create a temporary directory from " + pattern);
    return pattern;
}

auto open_file(const std::filesystem::path& path, const char* mode) -> std::FILE* {
    return std::fopen(path.c_str(), mode);
}

auto read_shared(const std::filesystem::path& path) -> std::optional<std::string> {
    return read_shared_prefix(path, SIZE_MAX);
}

auto read_shared_prefix(const std::filesystem::path& path, std::size_t limit) -> std::optional<std::string> {
    // Non-blocking, so that a FIFO in the file's place cannot stall the reader; and only a regular file is
    // read, so that a link to an endless device (/dev/zero) cannot fill memory.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    struct stat info {};
    std::optional<std::string> content;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        content.emplace();
        char buffer[65536];
        // A file that has not grown since the fstat is read in one call, without a last one to see its end.
        const auto size = static_cast<std::size_t>(info.st_size);
        while (content->size() <= limit && (size == 0 || content->size() < size)) {
            const ssize_t got = ::read(fd, buffer, sizeof buffer);
            if (got > 0) {
                content->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0) {
                break;
            } else if (errno != EINTR) {
                content.reset();
                break;
            }
        }
    }
    ::close(fd);
    return content;
}

auto peak_resident_bytes() -> std::optional<uint64_t> {
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0)
        return std::nullopt;
    return static_cast<uint64_t>(usage.ru_maxrss) * 1024; // kilobytes on Linux
}

auto thread_cpu_time() -> std::chrono::nanoseconds {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

auto last_write_time(const std::filesystem::path& path) -> std::optional<std::filesystem::file_time_type> {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    return error ? std::nullopt : std::optional(time);
}

auto set_last_write_time(const std::filesystem::path& path, std::filesystem::file_time_type time) -> bool {
    std::error_code error;
    std::filesystem::last_write_time(path, time, error);
    return !error;
}

auto local_time(std::time_t time) -> std::tm {
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

auto run_and_wait(const std::filesystem::path& program, const std::vector<std::string>& args) -> int {
    std::vector<char*> argv = argv_of(program, args);
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("cannot start " + program.string() + ": " + std::strerror(errno));
    if (child == 0) {
        execv(program.c_str(), argv.data());
        std::perror("execv");
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

auto replace_process(const std::filesystem::path& program, const std::vector<std::string>& args) -> void {
    std::vector<char*> argv = argv_of(program, args);
    execv(program.c_str(), argv.data());
    throw std::runtime_error("cannot run " + program.string() + ": " + std::strerror(errno));
}

} // namespace korvath::os
