#include "tools/soak/process_memory.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string>

namespace korvath::soak {

namespace {

// The value of a "Key:   123 kB" line, in bytes.
auto kib_line(std::string_view statusText, std::string_view key) -> std::optional<uint64_t> {
    const std::size_t at = statusText.find(key);
    if (at == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = statusText.substr(at + key.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    uint64_t kib = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), kib);
    if (error != std::errc{} || !std::string_view(end, rest.data() + rest.size()).starts_with(" kB"))
        return std::nullopt;
    return kib * 1024;
}

} // namespace

auto parse_resident_memory(std::string_view statusText) -> std::optional<ResidentMemory> {
    const auto total = kib_line(statusText, "\nVmRSS:");
    if (!total)
        return std::nullopt;
    return ResidentMemory{*total, kib_line(statusText, "\nRssAnon:").value_or(0),
                          kib_line(statusText, "\nRssFile:").value_or(0)};
}

auto resident_memory(std::intptr_t pid) -> std::optional<ResidentMemory> {
    // /proc files report no size: read them as a stream.
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    if (!in)
        return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return parse_resident_memory(text.str());
}

} // namespace korvath::soak
