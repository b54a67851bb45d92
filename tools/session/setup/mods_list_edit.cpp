#include "tools/session/setup/mods_list_edit.hpp"

#include "tools/session/doctor/mods_list.hpp"

#include <algorithm>
#include <vector>

namespace korvath::session_tool {

namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";

auto enabling_line(std::string_view mod) -> std::string {
    return std::string(mod) + " : 1";
}

} // namespace

auto enable_in_mods_list(std::string_view text, std::span<const std::string_view> mods) -> std::string {
    const auto entries = parse_mods_list(text);
    std::vector<std::string> lines = split_mods_lines(text);
    bool changed = false;
    std::vector<std::string> missing;
    for (const std::string_view mod : mods) {
        const ModsListState state = mod_state(entries, mod);
        if (state.enabled)
            continue;
        changed = true;
        if (state.disablingLine)
            lines[state.disablingLine->lineNumber - 1] = enabling_line(mod);
        else
            missing.push_back(enabling_line(mod));
    }
    if (!changed)
        return std::string(text);
    // Before the last Keybinds line and the comment lines right above it.
    std::size_t insertAt = lines.size();
    const auto keybinds =
        std::ranges::find_if(entries.rbegin(), entries.rend(),
                             [](const ModsListEntry& entry) { return entry.name == "Keybinds"; });
    if (keybinds != entries.rend()) {
        insertAt = keybinds->lineNumber - 1;
        while (insertAt > 0 && lines[insertAt - 1].find(';') != std::string::npos)
            --insertAt;
    } else {
        while (insertAt > 0 && lines[insertAt - 1].empty())
            --insertAt;
    }
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(insertAt), missing.begin(), missing.end());

    const std::string lineEnd = text.find("\r\n") != std::string_view::npos ? "\r\n" : "\n";
    std::string out = text.starts_with(kBom) ? std::string(kBom) : std::string();
    for (const std::string& line : lines)
        out += line + lineEnd;
    return out;
}

} // namespace korvath::session_tool
