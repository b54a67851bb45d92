#include "support/test_support.hpp"

#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>

namespace korvath::test {

auto set_file_time(const fs::path& path, int64_t fileTime) -> void {
    constexpr int64_t kUnixEpoch = 116444736000000000; // 1970-01-01 on the file-time scale
    const int64_t units = fileTime - kUnixEpoch;
    timespec t{static_cast<time_t>(units / 10'000'000), static_cast<long>(units % 10'000'000) * 100};
    timespec times[2] = {t, t};
    if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
        throw std::runtime_error("cannot set the time of " + path.string());
}

} // namespace korvath::test
