#include "tools/sim/text_values.hpp"

#include <charconv>
#include <cmath>

namespace korvath::sim {

auto parse_number(std::string_view text) -> std::optional<double> {
    double value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stop != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

auto parse_unsigned(std::string_view text) -> std::optional<uint64_t> {
    uint64_t value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

auto split(std::string_view text, char separator) -> std::vector<std::string_view> {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos)
            return parts;
        text.remove_prefix(at + 1);
    }
}

auto parse_numbers(std::string_view text, char separator, std::size_t count)
    -> std::optional<std::vector<double>> {
    const auto parts = split(text, separator);
    if (parts.size() != count)
        return std::nullopt;
    std::vector<double> values;
    for (const auto part : parts) {
        const auto value = parse_number(part);
        if (!value)
            return std::nullopt;
        values.push_back(*value);
    }
    return values;
}

} // namespace korvath::sim
