#include "tools/session/setup/setup.hpp"

#include "tools/session/doctor/doctor.hpp"
#include "tools/session/doctor/host_layout.hpp"
#include "tools/session/doctor/install_checks.hpp"
#include "tools/session/doctor/mods_list.hpp"
#include "tools/session/doctor/small_file.hpp"
#include "tools/session/doctor/tracker_script.hpp"
#include "tools/session/exchange/client_controls.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/setup/installed_file.hpp"
#include "tools/session/setup/mods_list_edit.hpp"
#include "tools/session/setup/start_script.hpp"

#include <map>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestPackageFile = 256ULL << 20;
constexpr std::uintmax_t kLargestModsList = 1ULL << 20;
constexpr int kMostPackageFiles = 1000;

#ifdef _WIN32
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

// The files to install into the host's Mods folder, by their path below it.
using ModFiles = std::map<fs::path, std::string>;

auto read_package(const SetupOptions& options, ModFiles& files, std::ostream& out) -> bool {
    for (const std::string_view mod : {kModName, kTrackerModName}) {
        const fs::path source = options.packageDir / "Mods" / mod;
        std::error_code error;
        int count = 0;
        for (fs::recursive_directory_iterator it(source, error);
             !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            if (!it->is_regular_file(error))
                continue;
            if (++count > kMostPackageFiles)
                break;
            auto content = read_small_file(it->path(), kLargestPackageFile);
            if (!std::holds_alternative<std::string>(content)) {
                out << "cannot read " << it->path().string() << " of the package\n";
                return false;
            }
            files[fs::path(mod) / it->path().lexically_relative(source)] =
                std::move(std::get<std::string>(content));
        }
    }
    // The program carries the tracker script of its version, for a package that lost it.
    files.try_emplace(fs::path(kTrackerModName) / "Scripts" / "main.lua", std::string(tracker_script_text()));
    if (options.dll) {
        auto content = read_small_file(*options.dll, kLargestPackageFile);
        if (const auto* problem = std::get_if<SmallFileProblem>(&content)) {
            out << "the DLL " << options.dll->string() << " " << describe(*problem) << "\n";
            return false;
        }
        files[fs::path(kModName) / "dlls" / "main.dll"] = std::move(std::get<std::string>(content));
    }
    return true;
}

auto enable_mods(const fs::path& modsDir, std::ostream& out) -> bool {
    const fs::path modsTxt = find_entry(modsDir, "mods.txt");
    const auto text = read_small_file(modsTxt, kLargestModsList);
    const auto* problem = std::get_if<SmallFileProblem>(&text);
    if ((problem && *problem != SmallFileProblem::Missing) ||
        (!problem && !looks_like_text(std::get<std::string>(text)))) {
        out << "cannot edit " << modsTxt.string() << ": it "
            << (problem ? describe(*problem) : "is no text file")
            << "; enable both mods by hand (INSTALL.md)\n";
        return false;
    }
    const std::string old = problem ? std::string() : std::get<std::string>(text);
    const std::string_view mods[] = {kModName, kTrackerModName};
    const std::string updated = enable_in_mods_list(old, mods);
    return updated == old || install_content(modsTxt, updated, out) != InstallOutcome::Failed;
}

auto set_up_game(const fs::path& gameDir, ClientRole role, const ModFiles& files, std::ostream& out) -> bool {
    out << "Game folder " << fs::path(gameDir).make_preferred().string() << "\n";
    const HostLayout layout = find_host_layout(gameDir);
    if (!layout.hostDll) {
        out << "no UE4SS here: install UE4SS into this folder first, then run setup again\n";
        return false;
    }
    bool ok = true;
    for (const auto& [relative, content] : files)
        ok = install_content(layout.modsDir / relative, content, out) != InstallOutcome::Failed && ok;
    ok = enable_mods(layout.modsDir, out) && ok;
    const std::string roleText = std::string(role_name(role)) + "\n";
    return install_content(exchange_dir_of(gameDir) / kRoleFile, roleText, out) != InstallOutcome::Failed &&
           ok;
}

} // namespace

auto run_setup(const SetupOptions& options, std::ostream& out) -> int {
    ModFiles files;
    if (!read_package(options, files, out))
        return 1;
    bool ok = true;
    for (std::size_t i = 0; i < options.gameDirs.size(); ++i)
        ok = set_up_game(options.gameDirs[i], i == 0 ? ClientRole::ClientA : ClientRole::ClientB, files,
                         out) &&
             ok;
    if (options.gameDirs.size() == 2) {
        const auto script =
            make_start_script(kWindows, fs::absolute(options.gameDirs[0]), fs::absolute(options.gameDirs[1]));
        if (!script) {
            out << "no start script: a game folder's path has a character it cannot hold; start the relay by "
                   "hand\n";
            ok = false;
        } else {
            const fs::path target = options.packageDir / script->fileName;
            ok = install_content(target, script->text, out, packaged_start_script()) !=
                     InstallOutcome::Failed &&
                 ok;
            std::error_code error;
            if (!kWindows)
                fs::permissions(target,
                                fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                                fs::perm_options::add, error);
        }
    }
    out << "\n";
    const int verdict = run_doctor(options.gameDirs, fs::file_time_type::clock::now(), out);
    return ok ? verdict : 1;
}

} // namespace korvath::session_tool
