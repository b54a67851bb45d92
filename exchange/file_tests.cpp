#include "exchange/file_tests.hpp"

#include "exchange/exchange_directory.hpp"
#include "exchange/platform.hpp"

namespace korvath {

namespace {
constexpr int64_t kFileTimeUnitsPerSecond = 10'000'000;
}

auto delete_exchange_file(std::wstring_view name) noexcept -> void {
    try {
        std::error_code ignored;
        std::filesystem::remove(exchange_path(name), ignored);
    } catch (...) {
    }
}

auto exchange_file_exists(std::wstring_view name) noexcept -> bool {
    return platform::exists_in_directory(exchangeDirectory, name);
}

auto is_file_fresh(const std::filesystem::path& path, int64_t maxAgeSeconds) noexcept -> bool {
    return is_file_fresh_at(path, maxAgeSeconds, platform::system_file_time_now());
}

auto is_file_fresh_at(const std::filesystem::path& path, int64_t maxAgeSeconds, int64_t nowFileTime) noexcept
    -> bool {
    const auto lastWrite = platform::last_write_file_time(path);
    if (!lastWrite)
        return false;
    const int64_t age = nowFileTime - *lastWrite;
    return age <= maxAgeSeconds * kFileTimeUnitsPerSecond;
}

} // namespace korvath
