#pragma once
// Strict parsing of the values on the command line: the whole text must be the value.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace korvath::sim {

// A finite decimal number ("12", "-0.5", "1e3"); no blanks, no trailing characters.
auto parse_number(std::string_view text) -> std::optional<double>;
// A decimal unsigned integer.
auto parse_unsigned(std::string_view text) -> std::optional<uint64_t>;
// Splits at every separator; "a,,b" gives three parts, "" gives one empty part.
auto split(std::string_view text, char separator) -> std::vector<std::string_view>;
// A list of exactly `count` numbers separated by `separator`.
auto parse_numbers(std::string_view text, char separator, std::size_t count)
    -> std::optional<std::vector<double>>;

} // namespace korvath::sim
