#pragma once
// The operating-system seam of the exchange files: one implementation per platform.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace korvath::platform {

// Full path of the running process's executable (not of the mod library); nothing when the
// system cannot give it or it is 32768 characters or longer.
auto executable_path() -> std::optional<std::filesystem::path>;

// Moves `from` onto `to`, replacing `to`; false when the file could not be moved.
auto replace_file(const std::filesystem::path& from, const std::filesystem::path& to) -> bool;

// Status of directory/name: nothing when it does not exist or cannot be read, else its last-write
// time on the file-time scale. Allocates nothing for the short ASCII names the mod uses, since the
// update thread asks this on every tick.
auto last_write_file_time_in(const std::filesystem::path& directory, std::wstring_view name) noexcept
    -> std::optional<int64_t>;

// Last-write time of a file and the system clock's current time, both in 100-ns units since
// 1601-01-01 UTC (the file-time scale).
auto last_write_file_time(const std::filesystem::path& path) -> std::optional<int64_t>;
auto system_file_time_now() -> int64_t;

} // namespace korvath::platform
