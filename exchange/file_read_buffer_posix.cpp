#include "exchange/file_read_buffer_fill.hpp"
#include "exchange/file_time_posix.hpp"
#include "exchange/joined_path.hpp"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace korvath {

namespace {

struct DescriptorCloser {
    int fd;
    ~DescriptorCloser() { ::close(fd); }
};

} // namespace

auto FileReadBuffer::read(const std::filesystem::path& directory, std::wstring_view name,
                          int64_t writtenSince) -> bool {
    data_ = inline_;
    size_ = 0;
    truncated_ = false;
    const JoinedPath path(directory, name);
    if (!path.c_str())
        return false;
    // Non-blocking, so that a FIFO in the table's place cannot stall the calling thread.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return false;
    const DescriptorCloser closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0 || platform::file_time_of(info.st_mtim) < writtenSince)
        return false;

    return fill(
        [fd](char* buffer, std::size_t wanted) -> std::optional<std::size_t> {
            for (;;) {
                const ssize_t got = ::read(fd, buffer, wanted);
                if (got >= 0)
                    return static_cast<std::size_t>(got);
                if (errno != EINTR)
                    return std::nullopt;
            }
        },
        // The size at opening is only a hint for how far to grow; a file that grows since is read on.
        [size = info.st_size]() -> std::size_t { return size > 0 ? static_cast<std::size_t>(size) : 0; });
}

} // namespace korvath
