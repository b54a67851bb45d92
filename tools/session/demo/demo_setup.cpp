#include "tools/session/demo/demo_setup.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/file_io.hpp"

#include <cstdlib>
#include <stdexcept>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

// Marks a directory as the demo's own, so a later demo may clear it.
constexpr std::string_view kStampFile = ".korvath-demo";
constexpr std::string_view kModLibraryName = KORVATH_SESSION_MOD_FILE_NAME;

auto this_executable() -> fs::path {
    return os::this_executable();
}

auto is_empty_dir(const fs::path& dir) -> bool {
    return fs::directory_iterator(dir) == fs::directory_iterator();
}

} // namespace

auto find_demo_programs() -> DemoPrograms {
    const fs::path tools = this_executable().parent_path();
    DemoPrograms programs{tools / ("korvath-sim" KORVATH_SESSION_EXECUTABLE_SUFFIX), std::nullopt};
    std::error_code error;
    if (!fs::is_regular_file(programs.simulator, error))
        throw std::runtime_error("korvath-sim not found next to korvath-session (" +
                                 programs.simulator.string() + "); build it first");
    // The build tree puts the tools in tools/ under the library; an installation puts them side by side.
    for (const fs::path& candidate : {tools / kModLibraryName, tools.parent_path() / kModLibraryName,
                                      fs::path(KORVATH_SESSION_MOD_LIBRARY)})
        if (fs::is_regular_file(candidate, error)) {
            programs.modLibrary = candidate;
            break;
        }
    return programs;
}

auto prepare_demo_dir(const std::optional<fs::path>& requested) -> fs::path {
    if (!requested) {
        const fs::path dir = os::make_temporary_directory("korvath-demo");
        write_file_atomically(dir / kStampFile, "");
        return dir;
    }
    const fs::path dir = fs::absolute(*requested).lexically_normal();
    fs::create_directories(dir);
    if (fs::exists(dir / kStampFile)) {
        for (const auto& entry : fs::directory_iterator(dir))
            if (entry.path().filename() != kStampFile)
                fs::remove_all(entry.path());
    } else if (!is_empty_dir(dir)) {
        throw std::runtime_error("--dir " + dir.string() +
                                 " is neither empty nor the directory of an earlier demo");
    }
    if (!write_file_atomically(dir / kStampFile, ""))
        throw std::runtime_error("cannot write in " + dir.string());
    return dir;
}

auto demo_client_files(const fs::path& dir, ClientRole role) -> DemoClientFiles {
    const bool b = role == ClientRole::ClientB;
    const std::string base = b ? "client-b" : "client-a";
    return {b ? "B" : "A", role, dir / base, dir / (base + ".log"), dir / (base + ".world.tsv")};
}

auto lay_out_client(const DemoClientFiles& files) -> void {
    fs::create_directories(files.gameDir);
    if (!write_role_file(files.gameDir, files.role) || !place_enable_marker(files.gameDir))
        throw std::runtime_error("cannot write the role file and the enable marker in " +
                                 files.gameDir.string());
}

auto simulator_arguments(const DemoClientFiles& files, const DemoPrograms& programs,
                         const std::vector<std::string>& extra) -> std::vector<std::string> {
    std::vector<std::string> args{"--game-dir", files.gameDir.string(), "--world-log",
                                  files.worldLog.string()};
    if (programs.modLibrary) {
        args.emplace_back("--mod");
        args.push_back(programs.modLibrary->string());
    }
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

} // namespace korvath::session_tool
