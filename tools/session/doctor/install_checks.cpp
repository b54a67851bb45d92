#include "tools/session/doctor/install_checks.hpp"

#include "tools/session/doctor/host_layout.hpp"
#include "tools/session/doctor/mods_list.hpp"
#include "tools/session/doctor/pe_image.hpp"
#include "tools/session/doctor/small_file.hpp"
#include "tools/session/doctor/tracker_script.hpp"

#include <algorithm>
#include <optional>
#include <variant>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestDll = 256ULL << 20;
constexpr std::uintmax_t kLargestText = 1ULL << 20;
// The stand-in host that the project's own builds link: a DLL importing it is a test build.
constexpr std::string_view kStandinHostDlls[] = {"KorvathHost.dll", "libKorvathHost.dll"};
constexpr const char* kSetupFix = "run korvath-session setup with this folder";

auto is_there(const fs::path& path) -> bool {
    std::error_code error;
    return fs::exists(path, error);
}

// A folder one or two levels down that looks like the folder of the game's executable.
auto likely_game_folder(const fs::path& dir) -> std::optional<fs::path> {
    std::error_code error;
    int looked = 0;
    for (fs::directory_iterator it(dir, error); !error && it != fs::directory_iterator() && looked < 200;
         it.increment(error), ++looked) {
        for (const fs::path& candidate : {it->path() / "Binaries" / "Win64", it->path() / "Win64"})
            if (std::error_code inner; fs::is_directory(candidate, inner))
                return candidate;
    }
    return std::nullopt;
}

auto check_host(const fs::path& gameDir, const HostLayout& layout, Checks& out) -> void {
    if (!layout.hostDll) {
        Check check{Verdict::Problem, name_in(gameDir, gameDir), "no UE4SS.dll here nor in its ue4ss folder",
                    "install UE4SS into this folder, the one holding the game's executable"};
        if (const auto candidate = likely_game_folder(gameDir))
            check.fix += " (did you mean " + candidate->string() + "?)";
        out.push_back(std::move(check));
        return;
    }
    std::error_code error;
    if (!fs::is_directory(layout.modsDir, error)) {
        out.push_back({Verdict::Problem, name_in(gameDir, layout.modsDir),
                       "the host's Mods folder is missing", "reinstall UE4SS, or " + std::string(kSetupFix)});
        return;
    }
    out.push_back({Verdict::Ok, name_in(gameDir, *layout.hostDll),
                   "the host is installed; it loads mods from " + name_in(gameDir, layout.modsDir) +
                       (layout.modsFolderFromSettings ? " (ModsFolderPath of UE4SS-settings.ini)" : "")});
    if (layout.twoHostDlls)
        out.push_back({Verdict::Note, name_in(gameDir, gameDir / kHostDllName),
                       "a second UE4SS.dll beside the one in ue4ss: one is left from an older install",
                       "keep the one your UE4SS version installs (the ue4ss folder for 3.1 and later)"});
}

auto check_mod_dll(const fs::path& gameDir, const fs::path& dll, Checks& out) -> void {
    const std::string subject = name_in(gameDir, dll);
    const std::string buildFix = "build main.dll with MSVC against your UE4SS build (INSTALL.md) and copy it "
                                 "here, or run korvath-session setup with --dll FILE";
    const auto bytes = read_small_file(dll, kLargestDll);
    if (const auto* problem = std::get_if<SmallFileProblem>(&bytes)) {
        out.push_back(
            {Verdict::Problem, subject, std::string("the mod's DLL ") + describe(*problem), buildFix});
        return;
    }
    const auto image = read_pe_image(std::get<std::string>(bytes));
    if (const auto* problem = std::get_if<std::string>(&image)) {
        out.push_back({Verdict::Problem, subject, "not a Windows DLL (" + *problem + ")", buildFix});
        return;
    }
    const PeImage& pe = std::get<PeImage>(image);
    const auto fail = [&](std::string finding) {
        out.push_back({Verdict::Problem, subject, std::move(finding), buildFix});
    };
    if (pe.machine != kMachineAmd64 || !pe.is64Bit)
        return fail("not built for 64-bit Windows (x64)");
    if (!pe.isDll)
        return fail("a program, not a DLL");
    for (const std::string_view entry : {"start_mod", "uninstall_mod"})
        if (std::ranges::find(pe.exports, entry) == pe.exports.end())
            return fail("does not export " + std::string(entry) + ": it is no C++ mod of this project");
    for (const std::string_view standin : kStandinHostDlls)
        if (imports_dll(pe, standin))
            return fail("the MinGW test build, which imports the project's stand-in host " +
                        std::string(standin) + "; the real host cannot load it");
    if (!imports_dll(pe, kHostDllName))
        return fail("does not import UE4SS.dll: it was not built against the host");
    out.push_back({Verdict::Ok, subject,
                   "a 64-bit DLL exporting start_mod and uninstall_mod, built against UE4SS.dll"});
}

auto check_enabled(const fs::path& gameDir, const fs::path& modsDir, std::string_view mod,
                   const std::optional<std::vector<ModsListEntry>>& modsList, Checks& out) -> void {
    const fs::path folder = find_entry(modsDir, mod);
    const std::string name(mod);
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        out.push_back({Verdict::Problem, name_in(gameDir, folder), "the mod's folder is missing",
                       "unpack the package's Mods folder here, or " + std::string(kSetupFix)});
        return;
    }
    const ModsListState state = modsList ? mod_state(*modsList, mod) : ModsListState{};
    const fs::path modsTxt = find_entry(modsDir, "mods.txt");
    if (state.enabled || is_there(find_entry(folder, "enabled.txt"))) {
        out.push_back({Verdict::Ok, name_in(gameDir, folder),
                       state.enabled ? "enabled in mods.txt" : "enabled by its enabled.txt"});
        return;
    }
    if (state.disablingLine)
        out.push_back({Verdict::Problem, name_in(gameDir, modsTxt),
                       name + " is disabled by line " + std::to_string(state.disablingLine->lineNumber) +
                           " \"" + printable(state.disablingLine->text) + "\"",
                       "make that line \"" + name + " : 1\", or " + kSetupFix});
    else
        out.push_back({Verdict::Problem, name_in(gameDir, modsTxt),
                       name + " is not enabled (no line \"" + name + " : 1\", no enabled.txt in its folder)",
                       "add the line \"" + name + " : 1\" above the Keybinds line, or " + kSetupFix});
}

auto check_tracker_script(const fs::path& gameDir, const fs::path& modsDir, Checks& out) -> void {
    const fs::path script =
        find_entry(find_entry(find_entry(modsDir, kTrackerModName), "Scripts"), "main.lua");
    const std::string fix =
        "copy Mods/KorvathTracker/Scripts/main.lua from this version's package, or " + std::string(kSetupFix);
    const auto text = read_small_file(script, kLargestText);
    if (const auto* problem = std::get_if<SmallFileProblem>(&text))
        out.push_back({Verdict::Problem, name_in(gameDir, script),
                       std::string("the tracker script ") + describe(*problem), fix});
    else if (!is_current_tracker_script(std::get<std::string>(text)))
        out.push_back({Verdict::Problem, name_in(gameDir, script),
                       "not the tracker script of this korvath-session version", fix});
    else
        out.push_back({Verdict::Ok, name_in(gameDir, script), "the tracker script of this version"});
}

} // namespace

auto name_in(const fs::path& gameDir, const fs::path& path) -> std::string {
    const fs::path relative = path.lexically_relative(gameDir);
    if (relative.empty() || *relative.begin() == "..")
        return fs::path(path).make_preferred().string();
    if (relative == ".")
        return fs::path(gameDir).make_preferred().string();
    return fs::path(relative).make_preferred().string();
}

auto check_install(const fs::path& gameDir, Checks& out) -> void {
    const HostLayout layout = find_host_layout(gameDir);
    check_host(gameDir, layout, out);
    if (!layout.hostDll)
        return;
    std::error_code error;
    if (!fs::is_directory(layout.modsDir, error))
        return;
    check_mod_dll(gameDir, find_entry(find_entry(find_entry(layout.modsDir, kModName), "dlls"), "main.dll"),
                  out);

    std::optional<std::vector<ModsListEntry>> modsList;
    const fs::path modsTxt = find_entry(layout.modsDir, "mods.txt");
    const auto text = read_small_file(modsTxt, kLargestText);
    if (const auto* problem = std::get_if<SmallFileProblem>(&text)) {
        if (*problem != SmallFileProblem::Missing)
            out.push_back({Verdict::Problem, name_in(gameDir, modsTxt),
                           std::string("the host's mod list ") + describe(*problem),
                           "restore mods.txt from your UE4SS package"});
    } else if (!looks_like_text(std::get<std::string>(text))) {
        out.push_back({Verdict::Problem, name_in(gameDir, modsTxt), "the host's mod list is no text file",
                       "restore mods.txt from your UE4SS package"});
    } else {
        modsList = parse_mods_list(std::get<std::string>(text));
    }
    for (const std::string_view mod : {kModName, kTrackerModName})
        check_enabled(gameDir, layout.modsDir, mod, modsList, out);
    check_tracker_script(gameDir, layout.modsDir, out);
}

} // namespace korvath::session_tool
