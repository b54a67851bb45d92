#pragma once

#include <filesystem>
#include <string>

namespace korvath {

// The role file's first line (up to the first LF), with trailing CR, LF, space and tab stripped and
// then leading spaces and tabs skipped, kept up to 256 bytes; empty when the file cannot be opened or
// read (a directory, a FIFO). Reads at most 1 MiB and never blocks on a FIFO. Never throws.
auto read_role_file(const std::filesystem::path& path) noexcept -> std::string;

// The role a trimmed first line names: CLIENT_B for exactly "CLIENT_B", CLIENT_A for anything else.
auto role_from_text(std::string_view text) -> bool;

} // namespace korvath
