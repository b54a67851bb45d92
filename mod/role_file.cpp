#include "mod/role_file.hpp"

#include "mod/session_state.hpp"

#include <fstream>

namespace korvath {

namespace {

// The trimmed line is kept up to this many bytes. A first line with more content than that cannot
// name a role, so reading stops there and a huge or binary file costs no more than this.
constexpr std::size_t kMaxKeptBytes = 256;

auto is_trailing_blank(char c) -> bool {
    return c == '\r' || c == '\n' || c == ' ' || c == '\t';
}

} // namespace

auto read_role_file(const std::filesystem::path& path) noexcept -> std::string {
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in)
            return {};
        std::string kept;
        bool started = false;
        char c;
        while (in.get(c) && c != '\n') {
            if (!started && (c == ' ' || c == '\t'))
                continue; // leading spaces and tabs are skipped, leading CR is not
            started = true;
            if (kept.size() < kMaxKeptBytes)
                kept.push_back(c);
            else if (!is_trailing_blank(c))
                return kept; // longer than any role; the rest does not matter
        }
        while (!kept.empty() && is_trailing_blank(kept.back()))
            kept.pop_back();
        return kept;
    } catch (...) {
        return {};
    }
}

auto role_from_text(std::string_view text) -> bool {
    return text == "CLIENT_B" ? kClientB : kClientA;
}

} // namespace korvath
