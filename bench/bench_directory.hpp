#pragma once
// A fresh temporary directory for a benchmark program's files, made on first use and removed when the
// program exits; it is also the exchange directory of the mod's code under measurement.

#include "exchange/exchange_directory.hpp"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace korvath::bench {

inline auto bench_directory() -> const std::filesystem::path& {
    struct Directory {
        std::filesystem::path path;
        ~Directory() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static const Directory directory = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "korvath-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        korvath::exchangeDirectory = pattern;
        return Directory{pattern};
    }();
    return directory.path;
}

} // namespace korvath::bench
