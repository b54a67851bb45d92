#include "tools/session/doctor/host_layout.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/doctor/small_file.hpp"

#include <algorithm>
#include <optional>
#include <string>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

// A folder with more entries than this is no game folder we look through.
constexpr int kMostEntries = 20000;

auto same_ignoring_case(std::string_view a, std::string_view b) -> bool {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

auto is_file(const fs::path& path) -> bool {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

auto is_folder(const fs::path& path) -> bool {
    std::error_code error;
    return fs::is_directory(path, error);
}

// ModsFolderPath of the [Overrides] section in the host's settings; nothing when unset.
auto mods_folder_setting(const fs::path& settings) -> std::optional<std::string> {
    const auto text = read_small_file(settings, 1 << 20);
    if (!std::holds_alternative<std::string>(text))
        return std::nullopt;
    const auto trim = [](std::string_view view) {
        while (!view.empty() && (view.front() == ' ' || view.front() == '\t'))
            view.remove_prefix(1);
        while (!view.empty() && (view.back() == ' ' || view.back() == '\t' || view.back() == '\r'))
            view.remove_suffix(1);
        return view;
    };
    std::string_view rest = std::get<std::string>(text);
    bool inOverrides = false;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = trim(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
        if (line.starts_with('['))
            inOverrides = line == "[Overrides]";
        const std::size_t equals = line.find('=');
        if (inOverrides && equals != std::string_view::npos &&
            trim(line.substr(0, equals)) == "ModsFolderPath") {
            const std::string_view value = trim(line.substr(equals + 1));
            return value.empty() ? std::nullopt : std::optional<std::string>(value);
        }
    }
    return std::nullopt;
}

} // namespace

auto find_entry(const fs::path& dir, std::string_view name) -> fs::path {
    std::error_code error;
    fs::directory_iterator it(dir, error);
    for (int seen = 0; !error && it != fs::directory_iterator() && seen < kMostEntries;
         it.increment(error), ++seen) {
        const auto entryName = it->path().filename().u8string();
        if (same_ignoring_case(
                std::string_view(reinterpret_cast<const char*>(entryName.data()), entryName.size()), name))
            return it->path();
    }
    return dir / name;
}

auto find_host_layout(const fs::path& gameDir) -> HostLayout {
    HostLayout layout;
    const fs::path inGameDir = find_entry(gameDir, kHostDllName);
    const fs::path inSubfolder = find_entry(find_entry(gameDir, "ue4ss"), kHostDllName);
    const bool old = is_file(inGameDir);
    const bool current = is_file(inSubfolder);
    layout.twoHostDlls = old && current;
    if (current)
        layout.hostDll = inSubfolder;
    else if (old)
        layout.hostDll = inGameDir;
    fs::path working = layout.hostDll ? layout.hostDll->parent_path() : gameDir / "ue4ss";
    // The game's root folder: the game folder is <root>/<Project>/Binaries/Win64.
    fs::path absolute = fs::absolute(gameDir).lexically_normal();
    if (absolute.filename().empty())
        absolute = absolute.parent_path();
    const fs::path root = absolute.parent_path().parent_path().parent_path();
    if (!root.filename().empty() && is_folder(find_entry(working, root.filename().string())))
        working = find_entry(working, root.filename().string());
    layout.modsDir = find_entry(working, "Mods");
    if (!old && !is_folder(layout.modsDir) && is_folder(find_entry(gameDir, "Mods")))
        layout.modsDir = find_entry(gameDir, "Mods");
    // The host's settings may name another folder; a relative one counts from the game's working
    // directory, normally the game folder.
    fs::path settings = find_entry(working, "UE4SS-settings.ini");
    if (!is_file(settings))
        settings = find_entry(gameDir, "UE4SS-settings.ini");
    if (const auto setting = mods_folder_setting(settings)) {
        layout.modsDir = gameDir / os::utf8_path(*setting);
        layout.modsFolderFromSettings = true;
    }
    return layout;
}

} // namespace korvath::session_tool
