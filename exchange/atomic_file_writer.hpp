#pragma once

#include <filesystem>
#include <mutex>
#include <string_view>

namespace korvath {

// Serialises every report write across all threads; taken by nothing else.
extern std::mutex fileWriteMutex;

// Replaces `target` whole with `content` (bytes, unchanged) through "<target>.tmp", creating the
// directory when it is missing. A reader sees the old content or the new, never a mixture. Never
// throws and reports nothing: on failure the old file stays as it was. Any thread.
auto write_text_file_atomically(const std::filesystem::path& target, std::string_view content) noexcept
    -> void;

} // namespace korvath
