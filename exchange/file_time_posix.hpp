#pragma once
// A POSIX time on the file-time scale: 100-ns units since 1601-01-01 UTC.

#include <cstdint>
#include <ctime>

namespace korvath::platform {

inline auto file_time_of(const timespec& ts) -> int64_t {
    // Seconds from 1601-01-01 to 1970-01-01.
    constexpr int64_t kUnixEpochInFileTimeSeconds = 11644473600;
    return (static_cast<int64_t>(ts.tv_sec) + kUnixEpochInFileTimeSeconds) * 10'000'000 + ts.tv_nsec / 100;
}

} // namespace korvath::platform
