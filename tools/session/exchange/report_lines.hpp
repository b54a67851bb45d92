#pragma once
// The lines of a report the mod writes: "key=value" lines, or plain text lines in the load, unload
// and error reports.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

struct ReportLine {
    std::string text;  // the whole line, without its line end
    std::string key;   // the text before the first "=", or the whole line when it has none
    std::string value; // the text after the first "="
    bool hasValue = false;
};

// Lines end at LF, with one CR before it dropped; a last line without LF counts; the empty rest
// after a final LF is no line.
auto parse_report(std::string_view text) -> std::vector<ReportLine>;

// The value of the first "key=value" line with this key.
auto report_value(const std::vector<ReportLine>& lines, std::string_view key) -> std::optional<std::string>;

} // namespace korvath::session_tool
