#pragma once
// Text helpers of the two input tables.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvath {

// Fields separated by single tabs. An empty line gives no field; a trailing tab adds no empty field;
// two adjacent tabs give an empty field between them; a line that is one tab gives one empty field.
auto split_tab_fields(std::string_view line) -> std::vector<std::string>;

// The same split without copies: fills `fields` with views of the first fields.size() fields of
// `line` and returns how many it filled (fewer when the line has fewer fields).
auto split_tab_field_views(std::string_view line, std::span<std::string_view> fields) -> std::size_t;

// strtof of the whole text: false when nothing converts, on a range error, when any character is
// left over, or when the value is not finite. `value` means nothing after false.
auto parse_float_field(const std::string& text, float& value) -> bool;

// parse_float_field over any byte range; an embedded NUL byte counts as a left-over character.
// Allocates only for texts of 64 bytes or more (throws std::bad_alloc then).
auto parse_float_text(std::string_view text, float& value) -> bool;

} // namespace korvath
