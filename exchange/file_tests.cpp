#include "exchange/file_tests.hpp"

#include "exchange/exchange_directory.hpp"
#include "exchange/platform.hpp"

namespace korvath {

namespace {

constexpr int64_t kFileTimeUnitsPerSecond = 10'000'000;

// Fresh when the last write lies at most maxAgeSeconds back; a time in the future counts as fresh.
auto is_fresh(int64_t lastWrite, int64_t maxAgeSeconds, int64_t now) -> bool {
    return lastWrite >= fresh_since(maxAgeSeconds, now);
}

} // namespace

auto fresh_since(int64_t maxAgeSeconds, int64_t nowFileTime) noexcept -> int64_t {
    return nowFileTime - maxAgeSeconds * kFileTimeUnitsPerSecond;
}

auto fresh_since(int64_t maxAgeSeconds) noexcept -> int64_t {
    return fresh_since(maxAgeSeconds, platform::system_file_time_now());
}

auto delete_exchange_file(std::wstring_view name) noexcept -> void {
    try {
        std::error_code ignored;
        std::filesystem::remove(exchange_path(name), ignored);
    } catch (...) {
    }
}

auto exchange_file_exists(std::wstring_view name) noexcept -> bool {
    return platform::last_write_file_time_in(exchangeDirectory, name).has_value();
}

auto is_file_fresh(const std::filesystem::path& path, int64_t maxAgeSeconds) noexcept -> bool {
    return is_file_fresh_at(path, maxAgeSeconds, platform::system_file_time_now());
}

auto is_file_fresh_at(const std::filesystem::path& path, int64_t maxAgeSeconds, int64_t nowFileTime) noexcept
    -> bool {
    const auto lastWrite = platform::last_write_file_time(path);
    return lastWrite && is_fresh(*lastWrite, maxAgeSeconds, nowFileTime);
}

auto is_exchange_file_fresh(std::wstring_view name, int64_t maxAgeSeconds) noexcept -> bool {
    return is_exchange_file_fresh_at(name, maxAgeSeconds, platform::system_file_time_now());
}

auto is_exchange_file_fresh_at(std::wstring_view name, int64_t maxAgeSeconds, int64_t nowFileTime) noexcept
    -> bool {
    const auto lastWrite = platform::last_write_file_time_in(exchangeDirectory, name);
    return lastWrite && is_fresh(*lastWrite, maxAgeSeconds, nowFileTime);
}

} // namespace korvath
