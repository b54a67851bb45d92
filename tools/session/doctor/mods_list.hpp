#pragma once
// The host's mods.txt as the host reads it: a line holding ";" or of at most four characters is
// skipped; of the rest, with every space removed, the text before the first ":" names a mod and the
// text after the last ":" enables it when it starts with "1". A byte-order mark at the start is skipped.
// A mod is started when any of its lines enables it (or an enabled.txt lies in its folder).

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

struct ModsListEntry {
    std::size_t lineNumber = 0; // from 1
    std::string name;
    bool enabled = false;
    std::string text; // the line as written, without its line end
};

struct ModsListState {
    bool enabled = false;
    std::optional<ModsListEntry> disablingLine; // the first line that names the mod without enabling it
};

// The lines of `text` split at LF (a CR before it dropped), without a byte-order mark.
auto split_mods_lines(std::string_view text) -> std::vector<std::string>;

auto parse_mods_list(std::string_view text) -> std::vector<ModsListEntry>;

// What the lines say of the mod `name` (compared as the host does, exactly).
auto mod_state(const std::vector<ModsListEntry>& entries, std::string_view name) -> ModsListState;

// False when the text has NUL bytes or other control characters than tab, CR and LF: no text file.
auto looks_like_text(std::string_view text) -> bool;

} // namespace korvath::session_tool
