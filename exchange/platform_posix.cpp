#include "exchange/platform.hpp"

#include "exchange/file_time_posix.hpp"
#include "exchange/joined_path.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvath::platform {

namespace {

constexpr std::size_t kPathBufferSize = 32768;

} // namespace

auto executable_path() -> std::optional<std::filesystem::path> {
    char buffer[kPathBufferSize];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer);
    if (length <= 0 || static_cast<std::size_t>(length) >= kPathBufferSize)
        return std::nullopt;
    return std::filesystem::path(std::string(buffer, static_cast<std::size_t>(length)));
}

auto extended_length_path(std::filesystem::path path) -> std::filesystem::path {
    return path;
}

auto write_new_file(const std::filesystem::path& path, std::string_view content) -> bool {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    bool ok = true;
    while (ok && !content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        ok = written > 0;
        if (ok)
            content.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::close(fd) == 0 && ok;
}

auto replace_file(const std::filesystem::path& from, const std::filesystem::path& to) -> bool {
    // rename(2) replaces the target atomically: a reader sees the old file or the new one.
    return std::rename(from.c_str(), to.c_str()) == 0;
}

auto last_write_file_time_in(const std::filesystem::path& directory, std::wstring_view name) noexcept
    -> std::optional<int64_t> {
    const JoinedPath path(directory, name);
    struct stat info;
    if (!path.c_str() || stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return file_time_of(info.st_mtim);
}

auto last_write_file_time(const std::filesystem::path& path) -> std::optional<int64_t> {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return file_time_of(info.st_mtim);
}

auto system_file_time_now() -> int64_t {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return file_time_of(now);
}

} // namespace korvath::platform
