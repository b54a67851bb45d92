#pragma once
// The resident memory of a running process, from /proc/<pid>/status (Linux).

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvath::soak {

// VmRSS in bytes; nothing when the process is gone or the line is missing.
auto resident_bytes(std::intptr_t pid) -> std::optional<uint64_t>;

// The VmRSS line of a /proc status text, in bytes.
auto parse_resident_bytes(std::string_view statusText) -> std::optional<uint64_t>;

} // namespace korvath::soak
