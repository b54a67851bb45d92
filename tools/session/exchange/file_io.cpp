#include "tools/session/exchange/file_io.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/exchange_names.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace fs = std::filesystem;

auto read_whole_file(const fs::path& path, std::size_t limit) -> std::optional<std::string> {
    try {
        return os::read_shared_prefix(path, limit);
    } catch (...) {
        return std::nullopt;
    }
}

auto read_if_rewritten(const fs::path& path, std::optional<fs::file_time_type>& seen)
    -> std::optional<std::pair<std::string, fs::file_time_type>> {
    const auto before = os::last_write_time(path);
    if (!before || before == seen)
        return std::nullopt;
    auto content = read_whole_file(path);
    if (!content || os::last_write_time(path) != before)
        return std::nullopt;
    seen = before;
    return std::pair{std::move(*content), *before};
}

auto write_file_atomically(const fs::path& target, std::string_view content) -> bool {
    try {
        fs::path temporary = target;
        temporary += kTemporarySuffix;
        std::FILE* out = os::open_file(temporary, "wb");
        if (!out) {
            // The folder is made only when missing, not looked at before every write.
            std::error_code error;
            fs::create_directories(target.parent_path(), error);
            out = os::open_file(temporary, "wb");
            if (!out)
                return false;
        }
        const bool written = std::fwrite(content.data(), 1, content.size(), out) == content.size();
        const bool closed = std::fclose(out) == 0;
        std::error_code error;
        if (!written || !closed) {
            fs::remove(temporary, error);
            return false;
        }
        fs::rename(temporary, target, error);
        if (error) {
            fs::remove(temporary, error);
            return false;
        }
        return true;
    } catch (...) {
        return false;
    }
}

auto file_age(const fs::path& path, fs::file_time_type now) -> std::optional<fs::file_time_type::duration> {
    const auto lastWrite = os::last_write_time(path);
    if (!lastWrite)
        return std::nullopt;
    return now - *lastWrite;
}

} // namespace korvath::session_tool
