#include "tools/session/doctor/small_file.hpp"

#include "tools/platform/os.hpp"

namespace korvath::session_tool {

namespace fs = std::filesystem;

auto read_small_file(const fs::path& path, std::uintmax_t maxBytes)
    -> std::variant<std::string, SmallFileProblem> {
    std::error_code error;
    const auto status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return SmallFileProblem::Missing;
    if (error)
        return SmallFileProblem::Unreadable;
    if (status.type() != fs::file_type::regular)
        return SmallFileProblem::NotAFile;
    const auto size = fs::file_size(path, error);
    if (error)
        return SmallFileProblem::Unreadable;
    if (size > maxBytes)
        return SmallFileProblem::TooLarge;
    // read_shared refuses anything but a regular file itself, should the file be swapped meanwhile.
    auto content = os::read_shared(path);
    if (!content)
        return SmallFileProblem::Unreadable;
    if (content->size() > maxBytes)
        return SmallFileProblem::TooLarge;
    return std::move(*content);
}

auto describe(SmallFileProblem problem) -> const char* {
    switch (problem) {
    case SmallFileProblem::Missing:
        return "is missing";
    case SmallFileProblem::NotAFile:
        return "is no regular file";
    case SmallFileProblem::TooLarge:
        return "is far too large";
    case SmallFileProblem::Unreadable:
        return "cannot be read";
    }
    return "cannot be read";
}

} // namespace korvath::session_tool
