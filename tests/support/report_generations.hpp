#pragma once
// Report contents that name their own generation, for readers that race a writer: each generation has
// its own length and filler, so a reader can tell a whole report from a mixture of two or a cut-off one.

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::test {

inline auto report_generation(uint64_t n) -> std::string {
    const std::string number = std::to_string(n);
    return "generation=" + number + "\n" +
           std::string(100 + (n % 7) * 1000, static_cast<char>('a' + n % 26)) + "\nend=" + number + "\n";
}

// The generation of a whole report; nothing for anything else.
inline auto whole_generation(std::string_view text) -> std::optional<uint64_t> {
    constexpr std::string_view kKey = "generation=";
    uint64_t n = 0;
    if (!text.starts_with(kKey) ||
        std::from_chars(text.data() + kKey.size(), text.data() + text.size(), n).ec != std::errc{} ||
        text != report_generation(n))
        return std::nullopt;
    return n;
}

// What one reader saw.
struct ReadCounts {
    uint64_t whole = 0;
    uint64_t missing = 0; // the file could not be opened
    uint64_t torn = 0;    // neither a whole old report nor a whole new one
};

} // namespace korvath::test
