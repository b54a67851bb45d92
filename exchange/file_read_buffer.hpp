#pragma once
// Whole-file reads of the input tables: one open, the reads, one close, and never more than a fixed
// number of bytes, so an oversized file cannot exhaust memory. Files up to 8 KiB land in inline
// storage, so a poll of an ordinary table allocates nothing.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace korvath {

class FileReadBuffer {
public:
    explicit FileReadBuffer(std::size_t maxBytes) noexcept
        : maxBytes_(maxBytes) {}
    FileReadBuffer(const FileReadBuffer&) = delete;
    auto operator=(const FileReadBuffer&) -> FileReadBuffer& = delete;

    // Reads directory/name from its start, keeping at most maxBytes bytes, when its last write (on the
    // file-time scale) is at writtenSince or later; the time is taken from the opened file, so it belongs
    // to the bytes read. False when the file is older, or cannot be opened or read (a directory, a FIFO,
    // an I/O error). Throws only std::bad_alloc.
    auto read(const std::filesystem::path& directory, std::wstring_view name, int64_t writtenSince) -> bool;

    auto bytes() const noexcept -> std::string_view { return {data_, size_}; }
    // The file held more than maxBytes bytes; bytes() is its beginning.
    auto truncated() const noexcept -> bool { return truncated_; }

private:
    static constexpr std::size_t kInlineBytes = 8192;

    // The growing read both platforms share (file_read_buffer_fill.hpp): read_some(buffer, wanted) reads
    // at most `wanted` bytes and yields how many, or nothing on an error; file_size() yields the file's
    // size, 0 when unknown.
    template <typename ReadSome, typename FileSize>
    auto fill(ReadSome read_some, FileSize file_size) -> bool;

    std::size_t maxBytes_;
    const char* data_ = inline_;
    std::size_t size_ = 0;
    bool truncated_ = false;
    std::unique_ptr<char[]> heap_;
    std::size_t heapCapacity_ = 0;
    char inline_[kInlineBytes];
};

} // namespace korvath
