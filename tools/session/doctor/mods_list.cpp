#include "tools/session/doctor/mods_list.hpp"

#include <algorithm>

namespace korvath::session_tool {

auto split_mods_lines(std::string_view text) -> std::vector<std::string> {
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        lines.emplace_back(line);
    }
    return lines;
}

auto parse_mods_list(std::string_view text) -> std::vector<ModsListEntry> {
    std::vector<ModsListEntry> entries;
    const auto lines = split_mods_lines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        if (line.find(';') != std::string::npos || line.size() <= 4)
            continue;
        std::string compact;
        std::ranges::copy_if(line, std::back_inserter(compact), [](char c) { return c != ' '; });
        const std::size_t first = compact.find(':');
        const std::size_t last = compact.rfind(':');
        ModsListEntry entry{i + 1, compact.substr(0, first), false, line};
        entry.enabled = last != std::string::npos && compact.size() > last + 1 && compact[last + 1] == '1';
        entries.push_back(std::move(entry));
    }
    return entries;
}

auto mod_state(const std::vector<ModsListEntry>& entries, std::string_view name) -> ModsListState {
    ModsListState state;
    for (const auto& entry : entries) {
        if (entry.name != name)
            continue;
        if (entry.enabled)
            state.enabled = true;
        else if (!state.disablingLine)
            state.disablingLine = entry;
    }
    return state;
}

auto looks_like_text(std::string_view text) -> bool {
    return std::ranges::none_of(text, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && c != '\t' && c != '\r' && c != '\n') || byte == 0x7f;
    });
}

} // namespace korvath::session_tool
