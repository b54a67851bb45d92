#include "exchange/file_read_buffer.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>
#include <cstring>

namespace korvath {

namespace {

struct HandleCloser {
    HANDLE handle;
    ~HandleCloser() { CloseHandle(handle); }
};

// The buffer size to move to when `capacity` bytes did not hold the file: its size plus one byte (so
// the read that reaches its end comes back short), at least double, at most `limit`.
auto grown_capacity(HANDLE file, std::size_t capacity, std::size_t limit) -> std::size_t {
    std::size_t wanted = capacity * 2;
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) && size.QuadPart > 0)
        wanted = std::max(wanted, static_cast<std::size_t>(size.QuadPart) + 1);
    return std::min(wanted, limit);
}

} // namespace

auto FileReadBuffer::read(const std::filesystem::path& path) -> bool {
    data_ = inline_;
    size_ = 0;
    truncated_ = false;
    // Every share flag: the outside process may replace or rewrite the table while it is read here.
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const HandleCloser closer{file};
    // Only a file on disk: a pipe or a device in the table's place could block the calling thread.
    if (GetFileType(file) != FILE_TYPE_DISK)
        return false;

    // One byte beyond maxBytes_ tells a longer file from one of exactly maxBytes_ bytes.
    const std::size_t limit = maxBytes_ + 1;
    char* data = inline_;
    std::size_t capacity = std::min(kInlineBytes, limit);
    std::size_t size = 0;
    for (;;) {
        if (size == capacity) {
            if (capacity == limit)
                break;
            const std::size_t grown = grown_capacity(file, capacity, limit);
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
        const DWORD wanted = static_cast<DWORD>(std::min<std::size_t>(capacity - size, 1u << 30));
        DWORD got = 0;
        if (!ReadFile(file, data + size, wanted, &got, nullptr))
            return false;
        size += got;
        // A file comes back short only at its end: no further read is needed to see it.
        if (got < wanted)
            break;
    }
    data_ = data;
    truncated_ = size > maxBytes_;
    size_ = std::min(size, maxBytes_);
    return true;
}

} // namespace korvath
