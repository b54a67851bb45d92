#pragma once
// The tool's file primitives. None of them throws; failures come back as nothing or false.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace korvath::session_tool {

// The whole file as raw bytes (or its first `limit` bytes and more when it is longer); nothing when it is
// missing or cannot be read.
auto read_whole_file(const std::filesystem::path& path, std::size_t limit = SIZE_MAX)
    -> std::optional<std::string>;

// The file's content with its last-write time, when it was rewritten since `seen` and did not change
// while it was read; `seen` then becomes that time.
auto read_if_rewritten(const std::filesystem::path& path,
                       std::optional<std::filesystem::file_time_type>& seen)
    -> std::optional<std::pair<std::string, std::filesystem::file_time_type>>;

// Replaces `target` whole: writes `target` + ".tmp" and renames it over `target`, so a reader sees the
// old content or the new, never a mixture. Creates missing parent folders. False when it failed.
auto write_file_atomically(const std::filesystem::path& target, std::string_view content) -> bool;

// How long ago the file was last written, against `now` on the file clock (negative for a time in
// the future); nothing when the file is missing or its time cannot be read.
auto file_age(const std::filesystem::path& path, std::filesystem::file_time_type now)
    -> std::optional<std::filesystem::file_time_type::duration>;

} // namespace korvath::session_tool
