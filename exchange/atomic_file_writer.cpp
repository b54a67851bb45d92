#include "exchange/atomic_file_writer.hpp"

#include "exchange/platform.hpp"

namespace korvath {

std::mutex fileWriteMutex;

namespace {

// An empty directory in the way of a report is removed, so the report is written now rather than never; a
// directory with anything in it is left alone. True when it was there and is gone.
auto remove_empty_directory(const std::filesystem::path& path) -> bool {
    std::error_code error;
    return std::filesystem::is_directory(path, error) && std::filesystem::remove(path, error);
}

} // namespace

auto write_text_file_atomically(const std::filesystem::path& target, std::string_view content) noexcept
    -> void {
    try {
        std::lock_guard lock(fileWriteMutex);
        std::error_code ignored;
        std::filesystem::create_directories(target.parent_path(), ignored);

        std::filesystem::path temporary = target;
        temporary += ".tmp";
        // A short write (disk full) must not replace a good report with a truncated one.
        bool written = platform::write_new_file(temporary, content);
        if (!written && remove_empty_directory(temporary))
            written = platform::write_new_file(temporary, content);
        if (!written) {
            std::filesystem::remove(temporary, ignored);
            return;
        }
        // The target is not removed first, so a reader never finds the report missing.
        if (platform::replace_file(temporary, target))
            return;
        if (!(remove_empty_directory(target) && platform::replace_file(temporary, target))) {
            std::filesystem::copy_file(temporary, target, std::filesystem::copy_options::overwrite_existing,
                                       ignored);
            std::filesystem::remove(temporary, ignored);
        }
    } catch (...) {
        // Out of memory while forming a path: the report is skipped, like any other write failure.
    }
}

} // namespace korvath
