#include "exchange/atomic_file_writer.hpp"

#include "exchange/platform.hpp"

namespace korvath {

std::mutex fileWriteMutex;

auto write_text_file_atomically(const std::filesystem::path& target, std::string_view content) noexcept
    -> void {
    try {
        std::lock_guard lock(fileWriteMutex);
        std::error_code ignored;
        std::filesystem::create_directories(target.parent_path(), ignored);

        std::filesystem::path temporary = target;
        temporary += ".tmp";
        // A short write (disk full) must not replace a good report with a truncated one.
        if (!platform::write_new_file(temporary, content)) {
            std::filesystem::remove(temporary, ignored);
            return;
        }
        if (!platform::replace_file(temporary, target)) {
            std::filesystem::copy_file(temporary, target, std::filesystem::copy_options::overwrite_existing,
                                       ignored);
            std::filesystem::remove(temporary, ignored);
        }
    } catch (...) {
        // Out of memory while forming a path: the report is skipped, like any other write failure.
    }
}

} // namespace korvath
