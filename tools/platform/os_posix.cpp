#include "tools/platform/os.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
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
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad())
        return std::nullopt;
    return content;
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
