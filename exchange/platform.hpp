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

// The form of an absolute directory path under which every file call works whatever its length: on
// Windows, when files below it could pass 260 characters, the extended-length form ("\\?\" prefix, which
// lifts that limit); otherwise, and on other systems, the path itself.
auto extended_length_path(std::filesystem::path path) -> std::filesystem::path;

// Creates or truncates `path` and writes `content`; false when any step failed. On Windows the file is
// opened with every share flag, so a reader of a stale temporary file never blocks the write.
auto write_new_file(const std::filesystem::path& path, std::string_view content) -> bool;

// Moves `from` onto `to`, replacing `to`; false when the file could not be moved. On Windows a target
// that a reader holds open may block the move: it is retried for a few milliseconds, then `to` is
// written over in place.
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
