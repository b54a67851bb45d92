#include "tools/session/setup/installed_file.hpp"

#include "tools/session/doctor/small_file.hpp"
#include "tools/session/exchange/file_io.hpp"

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

// Files setup installs (scripts, DLLs, mods.txt) are far below this.
constexpr std::uintmax_t kLargestInstalled = 256ULL << 20;
constexpr int kMostBackups = 100;

auto free_backup_name(const fs::path& target) -> std::optional<fs::path> {
    for (int i = 1; i <= kMostBackups; ++i) {
        fs::path backup = target;
        backup += i == 1 ? ".before-setup" : ".before-setup-" + std::to_string(i);
        std::error_code error;
        if (!fs::exists(backup, error) && !error)
            return backup;
    }
    return std::nullopt;
}

} // namespace

auto install_content(const fs::path& target, std::string_view content, std::ostream& log,
                     std::string_view ours) -> InstallOutcome {
    const std::string shown = fs::path(target).make_preferred().string();
    std::error_code error;
    const auto status = fs::symlink_status(target, error);
    if (status.type() != fs::file_type::not_found) {
        if (status.type() != fs::file_type::regular) {
            log << "cannot install " << shown << ": something else than a file is in its place\n";
            return InstallOutcome::Failed;
        }
        const auto existing = read_small_file(target, kLargestInstalled);
        const auto* text = std::get_if<std::string>(&existing);
        if (text && *text == content)
            return InstallOutcome::Unchanged;
        if (!text || ours.empty() || *text != ours) {
            const auto backup = free_backup_name(target);
            if (!backup || (fs::copy_file(target, *backup, error), error)) {
                log << "cannot keep a copy of " << shown << ", so it stays as it is\n";
                return InstallOutcome::Failed;
            }
            log << "kept the old " << shown << " as " << backup->filename().string() << "\n";
        }
    }
    if (!write_file_atomically(target, content)) {
        log << "cannot write " << shown << "\n";
        return InstallOutcome::Failed;
    }
    log << "wrote " << shown << "\n";
    return InstallOutcome::Written;
}

} // namespace korvath::session_tool
