#include "tools/sim/game_folder.hpp"

#include "tools/platform/os.hpp"
#include "tools/sim/termination.hpp"

#include <cstdlib>
#include <stdexcept>

namespace korvath::sim {

namespace fs = std::filesystem;

namespace {

// Set for the relaunched copy: the folder is laid out already, and it must not relaunch again.
constexpr const char* kRelaunchedVariable = "KORVATH_SIM_RELAUNCHED";

auto this_executable() -> fs::path {
    return os::this_executable();
}

} // namespace

auto default_mod_library() -> fs::path {
    const fs::path beside = this_executable().parent_path() / KORVATH_SIM_MOD_FILE_NAME;
    std::error_code error;
    if (fs::exists(beside, error))
        return beside;
    return KORVATH_SIM_DEFAULT_MOD;
}

auto install_file(const fs::path& source, const fs::path& target) -> void {
    if (!fs::is_regular_file(source))
        throw std::runtime_error("cannot install " + source.string() + ": no such file");
    std::error_code error;
    if (fs::equivalent(source, target, error))
        return;
    fs::create_directories(target.parent_path());
    fs::path temporary = target;
    temporary += ".tmp";
    fs::remove(temporary, error);
    fs::create_hard_link(source, temporary, error);
    if (error)
        fs::copy_file(source, temporary, fs::copy_options::overwrite_existing);
    fs::rename(temporary, target);
}

auto enter_game_folder(const fs::path& gameDir, const fs::path& modLibrary,
                       const std::vector<std::string>& args) -> fs::path {
    const bool relaunched = std::getenv(kRelaunchedVariable) != nullptr;
    os::set_environment(kRelaunchedVariable, nullptr);
    const fs::path installedMod =
        gameDir / "Mods" / "KorvathOnlineCpp" / "dlls" / ("main" KORVATH_SIM_LIBRARY_SUFFIX);
    const fs::path self = this_executable();
    std::error_code error;
    const bool inPlace = fs::equivalent(self.parent_path(), gameDir, error);
    if (relaunched) {
        // The launching process laid the folder out, with the mod library it resolved.
        if (!inPlace)
            throw std::runtime_error("relaunched from " + self.string() + ", which is not in " +
                                     gameDir.string());
        return installedMod;
    }

    fs::create_directories(gameDir);
    install_file(modLibrary, installedMod);
    if (inPlace)
        return installedMod;

    const fs::path copy = gameDir / (std::string(kGameExecutableName) + KORVATH_SIM_EXECUTABLE_SUFFIX);
    install_file(self, copy);
    fs::permissions(copy, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
    const fs::path hostLibrary = self.parent_path() / KORVATH_SIM_HOST_FILE_NAME;
    if (fs::is_regular_file(hostLibrary, error))
        install_file(hostLibrary, gameDir / KORVATH_SIM_HOST_FILE_NAME);
    os::set_environment(kRelaunchedVariable, "1");
    prepare_termination_for_copy();
    os::replace_process(copy, args);
}

} // namespace korvath::sim
