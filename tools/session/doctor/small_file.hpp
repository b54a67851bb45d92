#pragma once
// Reading a file that a player or another program may have put anywhere: only a regular file, and only
// up to a size limit, so that a FIFO, a device or a huge file can neither hang nor exhaust the reader.

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>

namespace korvath::session_tool {

enum class SmallFileProblem { Missing, NotAFile, TooLarge, Unreadable };

auto read_small_file(const std::filesystem::path& path, std::uintmax_t maxBytes)
    -> std::variant<std::string, SmallFileProblem>;

// "is missing", "is no regular file", ... for a report line.
auto describe(SmallFileProblem problem) -> const char*;

} // namespace korvath::session_tool
