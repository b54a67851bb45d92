#include "exchange/file_read_buffer_fill.hpp"
#include "exchange/file_time_windows.hpp"
#include "exchange/joined_path.hpp"

#include <algorithm>
#include <optional>

namespace korvath {

namespace {

struct HandleCloser {
    HANDLE handle;
    ~HandleCloser() { CloseHandle(handle); }
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
    FILETIME lastWrite;
    if (!GetFileTime(file, nullptr, nullptr, &lastWrite) || platform::file_time_of(lastWrite) < writtenSince)
        return false;

    return fill(
        [file](char* buffer, std::size_t wanted) -> std::optional<std::size_t> {
            DWORD got = 0;
            const auto asked = static_cast<DWORD>(std::min<std::size_t>(wanted, 1u << 30));
            if (!ReadFile(file, buffer, asked, &got, nullptr))
                return std::nullopt;
            return got;
        },
        [file]() -> std::size_t {
            LARGE_INTEGER size{};
            return GetFileSizeEx(file, &size) && size.QuadPart > 0 ? static_cast<std::size_t>(size.QuadPart)
                                                                   : 0;
        });
}

} // namespace korvath
