// A reader in a process of its own: reads a report over and over while another process rewrites it, and
// prints what it saw as "whole=N missing=N torn=N first_torn=<bytes>". Writes <ready file> after its
// first read, and stops once <stop file> exists, or after 120 s.
// Usage: korvath_torn_reader <report> <ready file> <stop file>

#include "support/report_generations.hpp"
#include "tools/platform/os.hpp"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    using korvath::os::utf8_path;
    const auto args = korvath::os::utf8_arguments(argc, argv);
    if (args.size() != 4)
        return 2;
    const fs::path report = utf8_path(args[1]), ready = utf8_path(args[2]), stop = utf8_path(args[3]);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    korvath::test::ReadCounts counts;
    std::string firstTorn;
    std::error_code error;
    for (uint64_t reads = 0; !fs::exists(stop, error) && std::chrono::steady_clock::now() < deadline;
         ++reads) {
        const auto text = korvath::os::read_shared(report);
        if (!text)
            ++counts.missing;
        else if (korvath::test::whole_generation(*text))
            ++counts.whole;
        else if (++counts.torn == 1)
            firstTorn = text->substr(0, 40);
        if (reads == 0)
            std::ofstream(ready).put('1');
    }
    std::cout << "whole=" << counts.whole << " missing=" << counts.missing << " torn=" << counts.torn
              << " first_torn=" << firstTorn << "\n";
    return 0;
}
