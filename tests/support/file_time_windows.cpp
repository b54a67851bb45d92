#include "support/test_support.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <stdexcept>

namespace korvath::test {

auto set_file_time(const fs::path& path, int64_t fileTime) -> void {
    const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    const auto units = static_cast<uint64_t>(fileTime);
    const FILETIME time{static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
    const bool set = file != INVALID_HANDLE_VALUE && SetFileTime(file, nullptr, nullptr, &time);
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
    if (!set)
        throw std::runtime_error("cannot set the time of " + path.string());
}

} // namespace korvath::test
