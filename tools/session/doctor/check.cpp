#include "tools/session/doctor/check.hpp"

namespace korvath::session_tool {

auto printable(std::string_view text, std::size_t maxBytes) -> std::string {
    std::string out;
    for (const char c : text.substr(0, maxBytes)) {
        const auto byte = static_cast<unsigned char>(c);
        out.push_back(byte < 0x20 || byte >= 0x7f ? '?' : c);
    }
    if (text.size() > maxBytes)
        out += "...";
    return out;
}

auto format_check(const Check& check) -> std::string {
    const char* label = check.verdict == Verdict::Ok     ? "ok   "
                        : check.verdict == Verdict::Note ? "note "
                                                         : "FAIL ";
    std::string line = label + check.subject + ": " + check.finding;
    if (!check.fix.empty())
        line += ". Fix: " + check.fix;
    // File names come from the disk: none may break the line (UTF-8 beyond ASCII stays).
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    return line + "\n";
}

} // namespace korvath::session_tool
