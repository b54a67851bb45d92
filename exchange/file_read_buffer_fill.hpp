#pragma once
// The read loop of FileReadBuffer, shared by its platform files.

#include "exchange/file_read_buffer.hpp"

#include <algorithm>
#include <cstring>

namespace korvath {

template <typename ReadSome, typename FileSize>
auto FileReadBuffer::fill(ReadSome read_some, FileSize file_size) -> bool {
    // One byte beyond maxBytes_ tells a longer file from one of exactly maxBytes_ bytes.
    const std::size_t limit = maxBytes_ + 1;
    char* data = inline_;
    std::size_t capacity = std::min(kInlineBytes, limit);
    std::size_t size = 0;
    for (;;) {
        if (size == capacity) {
            if (capacity == limit)
                break;
            // Its size plus one byte (so the read that reaches its end comes back short), at least double.
            const std::size_t grown = std::min(limit, std::max(capacity * 2, file_size() + 1));
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
        const auto got = read_some(data + size, wanted);
        if (!got)
            return false;
        size += *got;
        // A file comes back short only at its end: no further read is needed to see it.
        if (*got < wanted)
            break;
    }
    data_ = data;
    truncated_ = size > maxBytes_;
    size_ = std::min(size, maxBytes_);
    return true;
}

} // namespace korvath
