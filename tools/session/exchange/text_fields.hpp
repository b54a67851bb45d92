#pragma once
// Field helpers for the tab-separated exchange tables, with the same rules the mod reads them by.

#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

// Fields separated by single tabs. An empty line gives no field; a trailing tab adds no empty field;
// two adjacent tabs give an empty field between them; a line that is one tab gives one empty field.
auto split_tab_fields(std::string_view line) -> std::vector<std::string>;

// strtof of the whole text: false when nothing converts, on a range error, when any character is
// left over, or when the value is not finite.
auto parse_float_field(const std::string& text, float& value) -> bool;

} // namespace korvath::session_tool
