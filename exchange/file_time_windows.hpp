#pragma once
// A Windows FILETIME as one signed count of 100-ns units since 1601-01-01 UTC.

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdint>

namespace korvath::platform {

inline auto file_time_of(const FILETIME& time) -> int64_t {
    return static_cast<int64_t>((static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

} // namespace korvath::platform
