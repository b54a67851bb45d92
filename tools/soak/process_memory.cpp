#include "tools/soak/process_memory.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string>

namespace korvath::soak {

auto parse_resident_bytes(std::string_view statusText) -> std::optional<uint64_t> {
    constexpr std::string_view kKey = "\nVmRSS:";
    const std::size_t at = statusText.find(kKey);
    if (at == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = statusText.substr(at + kKey.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    uint64_t kib = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), kib);
    if (error != std::errc{} || !std::string_view(end, rest.data() + rest.size()).starts_with(" kB"))
        return std::nullopt;
    return kib * 1024;
}

auto resident_bytes(std::intptr_t pid) -> std::optional<uint64_t> {
    // /proc files report no size: read them as a stream.
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    if (!in)
        return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return parse_resident_bytes(text.str());
}

} // namespace korvath::soak
