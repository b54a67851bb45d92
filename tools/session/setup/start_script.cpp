#include "tools/session/setup/start_script.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

auto has_unsafe_character(std::string_view text, bool forWindows) -> bool {
    return std::ranges::any_of(text, [&](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7f || (forWindows && c == '"');
    });
}

// Inside set "NAME=...", cmd expands %...%; a doubled % stands for one.
auto batch_value(std::string_view text) -> std::string {
    std::string out;
    for (const char c : text) {
        out.push_back(c);
        if (c == '%')
            out.push_back('%');
    }
    return out;
}

auto shell_quoted(std::string_view text) -> std::string {
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

auto replace_line(std::string& text, std::string_view line, const std::string& with) -> void {
    const std::size_t at = text.find(line);
    if (at != std::string::npos)
        text.replace(at, line.size(), with);
}

} // namespace

auto make_start_script(bool forWindows, const std::filesystem::path& gameA,
                       const std::filesystem::path& gameB) -> std::optional<StartScript> {
    const auto text_of = [forWindows](std::filesystem::path path) {
        return forWindows ? path.make_preferred().string() : path.string();
    };
    const std::string a = text_of(gameA);
    const std::string b = text_of(gameB);
    if (has_unsafe_character(a, forWindows) || has_unsafe_character(b, forWindows))
        return std::nullopt;
    if (!forWindows) {
        return StartScript{
            "Start Korvath Online.sh",
            "#!/bin/sh\n"
            "# Korvath Online: the relay between the two game copies, until Ctrl+C. Written by\n"
            "# korvath-session setup.\n"
            "GAME_A=" +
                shell_quoted(a) + "\nGAME_B=" + shell_quoted(b) +
                "\n"
                "cd \"$(dirname \"$0\")\" || exit 1\n"
                "./korvath-session doctor \"$GAME_A\" \"$GAME_B\"\n"
                "exec ./korvath-session relay \"$GAME_A\" \"$GAME_B\"\n"};
    }
    std::string text = packaged_start_script();
    replace_line(text, "set \"GAME_A=\"", "set \"GAME_A=" + batch_value(a) + "\"");
    replace_line(text, "set \"GAME_B=\"", "set \"GAME_B=" + batch_value(b) + "\"");
    return StartScript{"Start Korvath Online.bat", text};
}

auto packaged_start_script() -> std::string {
    std::string crlf;
    for (const char c : start_script_template()) {
        if (c == '\n' && (crlf.empty() || crlf.back() != '\r'))
            crlf.push_back('\r');
        crlf.push_back(c);
    }
    return crlf;
}

} // namespace korvath::session_tool
