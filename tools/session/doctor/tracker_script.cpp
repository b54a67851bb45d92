#include "tools/session/doctor/tracker_script.hpp"

#include <string>

namespace korvath::session_tool {

namespace {

constexpr std::string_view kKeysBegin = "-- korvath keys begin\n";
constexpr std::string_view kKeysEnd = "-- korvath keys end\n";

// The script without carriage returns and without its block of key settings, which players may edit.
auto comparable(std::string_view text) -> std::string {
    std::string out;
    out.reserve(text.size());
    for (const char c : text)
        if (c != '\r')
            out.push_back(c);
    const std::size_t begin = out.find(kKeysBegin);
    const std::size_t end = begin == std::string::npos ? begin : out.find(kKeysEnd, begin);
    if (end != std::string::npos)
        out.erase(begin, end + kKeysEnd.size() - begin);
    return out;
}

} // namespace

auto is_current_tracker_script(std::string_view installed) -> bool {
    return comparable(installed) == comparable(tracker_script_text());
}

} // namespace korvath::session_tool
