#include "tools/session/exchange/report_lines.hpp"

namespace korvath::session_tool {

auto parse_report(std::string_view text) -> std::vector<ReportLine> {
    std::vector<ReportLine> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        ReportLine& entry = lines.emplace_back();
        entry.text = line;
        const std::size_t equals = line.find('=');
        entry.hasValue = equals != std::string_view::npos;
        entry.key = line.substr(0, equals);
        if (entry.hasValue)
            entry.value = line.substr(equals + 1);
    }
    return lines;
}

auto report_value(const std::vector<ReportLine>& lines, std::string_view key) -> std::optional<std::string> {
    for (const auto& line : lines)
        if (line.hasValue && line.key == key)
            return line.value;
    return std::nullopt;
}

} // namespace korvath::session_tool
