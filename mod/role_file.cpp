#include "mod/role_file.hpp"

#include "exchange/file_read_buffer.hpp"
#include "mod/session_state.hpp"

#include <cstdint>
#include <limits>

namespace korvath {

namespace {

// The file is read up to this many bytes, so a huge or endless one (a link to /dev/zero) costs no more.
// A first line longer than that names no role.
constexpr std::size_t kMaxReadBytes = std::size_t{1} << 20;
// The trimmed line is kept up to this many bytes; a longer one cannot name a role either.
constexpr std::size_t kMaxKeptBytes = 256;

auto is_trailing_blank(char c) -> bool {
    return c == '\r' || c == '\n' || c == ' ' || c == '\t';
}

} // namespace

auto read_role_file(const std::filesystem::path& path) noexcept -> std::string {
    try {
        // The buffer's open does not block, so a FIFO in the role file's place cannot stall the start.
        FileReadBuffer file(kMaxReadBytes);
        const std::wstring name = path.filename().wstring();
        if (!file.read(path.parent_path(), name, std::numeric_limits<int64_t>::min())) // any age
            return {};
        std::string_view line = file.bytes();
        const std::size_t lineEnd = line.find('\n');
        const bool wholeLine = lineEnd != std::string_view::npos || !file.truncated();
        line = line.substr(0, lineEnd);
        // Trailing blanks are dropped only when the line's end was read: those of a cut-off line may be
        // followed by more text.
        while (wholeLine && !line.empty() && is_trailing_blank(line.back()))
            line.remove_suffix(1);
        const std::size_t start = line.find_first_not_of(" \t"); // a leading CR is not skipped
        if (start == std::string_view::npos)
            return {};
        return std::string(line.substr(start, kMaxKeptBytes));
    } catch (...) {
        return {};
    }
}

auto role_from_text(std::string_view text) -> bool {
    return text == "CLIENT_B" ? kClientB : kClientA;
}

} // namespace korvath
