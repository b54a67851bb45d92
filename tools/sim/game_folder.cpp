#include "sim/game_folder.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace korvath::sim {

namespace fs = std::filesystem;

namespace {

// Set across the relaunch, so a folder that still does not match cannot relaunch forever.
constexpr const char* kRelaunchedVariable = "KORVATH_SIM_RELAUNCHED";

auto this_executable() -> fs::path {
    return fs::read_symlink("/proc/self/exe");
}

auto same_bytes(const fs::path& a, const fs::path& b) -> bool {
    std::error_code error;
    if (fs::equivalent(a, b, error))
        return true;
    if (!fs::exists(b, error) || fs::file_size(a, error) != fs::file_size(b, error) || error)
        return false;
    std::ifstream first(a, std::ios::binary);
    std::ifstream second(b, std::ios::binary);
    return first && second &&
           std::equal(std::istreambuf_iterator<char>(first), std::istreambuf_iterator<char>(),
                      std::istreambuf_iterator<char>(second), std::istreambuf_iterator<char>());
}

} // namespace

auto default_mod_library() -> fs::path {
    const fs::path beside = this_executable().parent_path() / "libKorvathOnlineCpp.so";
    std::error_code error;
    if (fs::exists(beside, error))
        return beside;
    return KORVATH_SIM_DEFAULT_MOD;
}

auto install_file(const fs::path& source, const fs::path& target) -> void {
    if (!fs::is_regular_file(source))
        throw std::runtime_error("cannot install " + source.string() + ": no such file");
    if (same_bytes(source, target))
        return;
    fs::create_directories(target.parent_path());
    const fs::path temporary = target.string() + ".tmp";
    std::error_code error;
    fs::remove(temporary, error);
    fs::create_hard_link(source, temporary, error);
    if (error)
        fs::copy_file(source, temporary, fs::copy_options::overwrite_existing);
    fs::rename(temporary, target);
}

auto enter_game_folder(const fs::path& gameDir, const fs::path& modLibrary, char** argv) -> fs::path {
    fs::create_directories(gameDir);
    const fs::path installedMod = gameDir / "Mods" / "KorvathOnlineCpp" / "dlls" / "main.so";
    install_file(modLibrary, installedMod);

    const fs::path self = this_executable();
    if (fs::equivalent(self.parent_path(), gameDir))
        return installedMod;
    if (std::getenv(kRelaunchedVariable))
        throw std::runtime_error("relaunched from " + self.string() + ", which is still not in " + gameDir.string());

    const fs::path copy = gameDir / kGameExecutableName;
    install_file(self, copy);
    fs::permissions(copy, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
    setenv(kRelaunchedVariable, "1", 1);
    argv[0] = const_cast<char*>(copy.c_str());
    execv(copy.c_str(), argv);
    throw std::runtime_error("cannot run " + copy.string() + ": " + std::strerror(errno));
}

} // namespace korvath::sim
