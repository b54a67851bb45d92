#include "exchange/file_read_buffer.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvath {

namespace {

struct DescriptorCloser {
    int fd;
    ~DescriptorCloser() { ::close(fd); }
};

// The buffer size to move to when `capacity` bytes did not hold the file: its size by fstat plus one
// byte (so the read that reaches its end comes back short), at least double, at most `limit`.
auto grown_capacity(int fd, std::size_t capacity, std::size_t limit) -> std::size_t {
    std::size_t wanted = capacity * 2;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && info.st_size > 0)
        wanted = std::max(wanted, static_cast<std::size_t>(info.st_size) + 1);
    return std::min(wanted, limit);
}

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

    // One byte beyond maxBytes_ tells a longer file from one of exactly maxBytes_ bytes.
    const std::size_t limit = maxBytes_ + 1;
    char* data = inline_;
    std::size_t capacity = std::min(kInlineBytes, limit);
    std::size_t size = 0;
    for (;;) {
        if (size == capacity) {
            if (capacity == limit)
                break;
            const std::size_t grown = grown_capacity(fd, capacity, limit);
            if (heapCapacity_ < grown) {
                auto bigger = std::make_unique_for_overwrite<char[]>(grown);
                std::memcpy(bigger.get(), data, size);
                heap_ = std::move(bigger);
                heapCapacity_ = grown;
            } else if (data != heap_.get()) {
                std::memcpy(heap_.get(), data, size);
            }
            data = heap_.get();
            capacity = grown;
        }
        const std::size_t wanted = capacity - size;
        const ssize_t got = ::read(fd, data + size, wanted);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        size += static_cast<std::size_t>(got);
        // A regular file comes back short only at its end: no further read is needed to see it.
        if (static_cast<std::size_t>(got) < wanted)
            break;
    }
    data_ = data;
    truncated_ = size > maxBytes_;
    size_ = std::min(size, maxBytes_);
    return true;
}

} // namespace korvath
