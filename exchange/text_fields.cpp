#include "exchange/text_fields.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace korvath {

namespace {

// Calls `onField` for each field of `line` until it returns false.
template <typename OnField>
auto for_each_tab_field(std::string_view line, OnField onField) -> void {
    std::size_t start = 0;
    while (start < line.size()) {
        const std::size_t tab = line.find('\t', start);
        const std::size_t end = tab == std::string_view::npos ? line.size() : tab;
        if (!onField(line.substr(start, end - start)))
            return;
        start = end + 1;
    }
}

// strtof needs a terminated string; fields of ordinary numbers fit this.
constexpr std::size_t kInlineNumberBytes = 64;

auto parse_terminated_float(const char* text, std::size_t size, float& value) -> bool {
    char* end = nullptr;
    errno = 0;
    const float converted = std::strtof(text, &end);
    if (end == text || errno == ERANGE || end != text + size || !std::isfinite(converted))
        return false;
    value = converted;
    return true;
}

} // namespace

auto split_tab_fields(std::string_view line) -> std::vector<std::string> {
    std::vector<std::string> fields;
    for_each_tab_field(line, [&fields](std::string_view field) {
        fields.emplace_back(field);
        return true;
    });
    return fields;
}

auto split_tab_field_views(std::string_view line, std::span<std::string_view> fields) -> std::size_t {
    std::size_t count = 0;
    for_each_tab_field(line, [&fields, &count](std::string_view field) {
        if (count == fields.size())
            return false;
        fields[count++] = field;
        return true;
    });
    return count;
}

auto parse_float_field(const std::string& text, float& value) -> bool {
    return parse_terminated_float(text.c_str(), text.size(), value);
}

auto parse_float_text(std::string_view text, float& value) -> bool {
    if (text.size() < kInlineNumberBytes) {
        char buffer[kInlineNumberBytes];
        if (!text.empty())
            std::memcpy(buffer, text.data(), text.size());
        buffer[text.size()] = '\0';
        return parse_terminated_float(buffer, text.size(), value);
    }
    const std::string copy(text);
    return parse_terminated_float(copy.c_str(), copy.size(), value);
}

} // namespace korvath
