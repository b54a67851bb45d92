#pragma once
// A fresh temporary directory for a benchmark program's files, made once; it is also the exchange
// directory of the mod's code under measurement.

#include "exchange/exchange_directory.hpp"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace korvath::bench {

inline auto bench_directory() -> const std::filesystem::path& {
    static const std::filesystem::path directory = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "korvath-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        korvath::exchangeDirectory = pattern;
        return std::filesystem::path(pattern);
    }();
    return directory;
}

} // namespace korvath::bench
