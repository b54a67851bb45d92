#pragma once
// The resident memory of a running process, from /proc/<pid>/status (Linux).

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvath::soak {

// In bytes: all of it (VmRSS), and its anonymous (RssAnon: heap, stacks) and file-backed (RssFile: the
// pages of the program and its libraries that have run or been read) parts.
struct ResidentMemory {
    uint64_t total = 0;
    uint64_t anonymous = 0;
    uint64_t file = 0;
};

// Nothing when the process is gone or VmRSS is missing; a missing part reads as 0.
auto resident_memory(std::intptr_t pid) -> std::optional<ResidentMemory>;
auto parse_resident_memory(std::string_view statusText) -> std::optional<ResidentMemory>;

} // namespace korvath::soak
