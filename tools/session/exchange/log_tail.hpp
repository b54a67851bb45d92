#pragma once
// Reads a log that only grows, such as a simulator's world log, as it is written: each call hands on the
// whole lines that arrived since the last one. A partial line is kept until its line feed arrives.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

class LogTail {
public:
    using LineSink = std::function<void(std::string_view)>;

    // Takes the next bytes of the log. A partial line longer than kLongestLine is garbage and dropped.
    auto feed(std::string_view bytes, const LineSink& sink) -> void;
    // Reads what `path` holds beyond what was read before. False when the file cannot be read.
    auto read_more(const std::filesystem::path& path, const LineSink& sink) -> bool;

    static constexpr std::size_t kLongestLine = 4096;

private:
    std::string m_partial;
    std::uintmax_t m_offset = 0;
};

} // namespace korvath::session_tool
