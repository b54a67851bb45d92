#pragma once
// What the fuzz targets share: a failed check prints what differed and aborts, which libFuzzer reports
// as a crash and saves the input for; and a private folder for the targets that read their input from
// a file, removed when the process exits.

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

namespace korvath::fuzz {

[[noreturn]] inline auto fail(const char* what) -> void {
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

inline auto check(bool holds, const char* what) -> void {
    if (!holds)
        fail(what);
}

// Bitwise equality: 0 and -0 differ.
inline auto same_bits(float a, float b) -> bool {
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

inline auto bytes_of(const uint8_t* data, std::size_t size) -> std::string_view {
    return {reinterpret_cast<const char*>(data), size};
}

// A fresh folder for this process alone, in memory (/dev/shm) where there is one: a disk file system may
// flush each rewritten input file to disk. The targets build on POSIX systems only.
inline auto scratch_directory() -> const std::filesystem::path& {
    struct Scratch {
        std::filesystem::path path;
        Scratch() {
            std::error_code error;
            const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", error)
                                                   ? std::filesystem::path("/dev/shm")
                                                   : std::filesystem::temp_directory_path();
            std::string pattern = (base / "korvath-fuzz-XXXXXX").string();
            check(::mkdtemp(pattern.data()) != nullptr, "no scratch folder");
            path = pattern;
        }
        ~Scratch() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static const Scratch scratch;
    return scratch.path;
}

// Replaces the file with exactly these bytes.
inline auto write_input(const std::filesystem::path& path, std::string_view bytes) -> void {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    check(static_cast<bool>(out), "the input file could not be written");
}

} // namespace korvath::fuzz
