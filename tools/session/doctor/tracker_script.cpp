#include "tools/session/doctor/tracker_script.hpp"

#include <string>

namespace korvath::session_tool {

namespace {

auto without_carriage_returns(std::string_view text) -> std::string {
    std::string out;
    out.reserve(text.size());
    for (const char c : text)
        if (c != '\r')
            out.push_back(c);
    return out;
}

} // namespace

auto is_current_tracker_script(std::string_view installed) -> bool {
    return without_carriage_returns(installed) == without_carriage_returns(tracker_script_text());
}

} // namespace korvath::session_tool
