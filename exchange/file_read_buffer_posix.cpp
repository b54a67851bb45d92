#include "exchange/file_read_buffer_fill.hpp"

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

auto FileReadBuffer::read(const std::filesystem::path& path) -> bool {
    data_ = inline_;
    size_ = 0;
    truncated_ = false;
    // Non-blocking, so that a FIFO in the table's place cannot stall the calling thread.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return false;
    const DescriptorCloser closer{fd};

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
        [fd]() -> std::size_t {
            struct stat info {};
            return ::fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
        });
}

} // namespace korvath
