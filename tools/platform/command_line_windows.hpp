#pragma once
// Windows only: the command line of a new process, from UTF-8 arguments.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::os {

// The wide text of `text` given in UTF-8.
auto wide(std::string_view text) -> std::wstring;

// `program` followed by `args`, each quoted so that the C runtime's parser of the new process gives it
// back unchanged.
auto command_line(const std::filesystem::path& program, const std::vector<std::string>& args) -> std::wstring;

} // namespace korvath::os
