#include "tools/session/exchange/text_fields.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace korvath::session_tool {

auto split_tab_fields(std::string_view line) -> std::vector<std::string> {
    std::vector<std::string> fields;
    std::size_t start = 0;
    while (start < line.size()) {
        const std::size_t tab = line.find('\t', start);
        if (tab == std::string_view::npos) {
            fields.emplace_back(line.substr(start));
            break;
        }
        fields.emplace_back(line.substr(start, tab - start));
        start = tab + 1;
    }
    return fields;
}

auto parse_float_field(const std::string& text, float& value) -> bool {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const float parsed = std::strtof(begin, &end);
    if (end == begin || errno == ERANGE || end != begin + text.size() || !std::isfinite(parsed))
        return false;
    value = parsed;
    return true;
}

} // namespace korvath::session_tool
