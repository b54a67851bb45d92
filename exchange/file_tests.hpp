#pragma once
// Existence, age and deletion of exchange files. None of them throws or reports: a failure reads
// as absent or not fresh. Any thread, no lock.

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace korvath {

// Removes exchange_path(name); a missing file or any other error is ignored.
auto delete_exchange_file(std::wstring_view name) noexcept -> void;

// True when anything (a directory too) exists at exchange_path(name).
auto exchange_file_exists(std::wstring_view name) noexcept -> bool;

// True when the file's last write lies at most maxAgeSeconds back (or in the future) by the
// system clock; false when it is missing or its time cannot be read.
auto is_file_fresh(const std::filesystem::path& path, int64_t maxAgeSeconds) noexcept -> bool;

// is_file_fresh of exchange_path(name), without building the path (it runs on every update tick).
auto is_exchange_file_fresh(std::wstring_view name, int64_t maxAgeSeconds) noexcept -> bool;

// The earliest last-write time (file-time scale) that is fresh for maxAgeSeconds at nowFileTime, and at
// the system clock's current time.
auto fresh_since(int64_t maxAgeSeconds, int64_t nowFileTime) noexcept -> int64_t;
auto fresh_since(int64_t maxAgeSeconds) noexcept -> int64_t;

// is_file_fresh and is_exchange_file_fresh against a given current time on the file-time scale (100 ns
// since 1601).
auto is_file_fresh_at(const std::filesystem::path& path, int64_t maxAgeSeconds, int64_t nowFileTime) noexcept
    -> bool;
auto is_exchange_file_fresh_at(std::wstring_view name, int64_t maxAgeSeconds, int64_t nowFileTime) noexcept
    -> bool;

} // namespace korvath
