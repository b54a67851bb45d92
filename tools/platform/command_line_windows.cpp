#include "tools/platform/command_line_windows.hpp"

namespace korvath::os {

namespace {

auto quoted(const std::wstring& arg) -> std::wstring {
    if (!arg.empty() && arg.find_first_of(L" \t\n\v\"") == std::wstring::npos)
        return arg;
    std::wstring out = L"\"";
    for (std::size_t i = 0;; ++i) {
        std::size_t backslashes = 0;
        while (i < arg.size() && arg[i] == L'\\')
            ++i, ++backslashes;
        if (i == arg.size()) {
            // Doubled before the closing quote, so none of them escapes it.
            out.append(backslashes * 2, L'\\');
            break;
        }
        out.append(arg[i] == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        out += arg[i];
    }
    return out + L"\"";
}

} // namespace

auto wide(std::string_view text) -> std::wstring {
    return std::filesystem::path(std::u8string(text.begin(), text.end())).native();
}

auto command_line(const std::filesystem::path& program, const std::vector<std::string>& args)
    -> std::wstring {
    std::wstring line = quoted(program.native());
    for (const auto& arg : args)
        line += L" " + quoted(wide(arg));
    return line;
}

} // namespace korvath::os
