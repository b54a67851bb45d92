#pragma once
// Builds the bytes of a minimal Windows DLL (headers, one section with an export and an import table and
// no code) for the tests of the session tool's doctor.

#include <cstdint>
#include <string>
#include <vector>

namespace korvath::test {

struct PeImage {
    bool is64Bit = true;
    bool isDll = true;
    std::vector<std::string> exports{"start_mod", "uninstall_mod"};
    std::vector<std::string> importDlls{"UE4SS.dll", "KERNEL32.dll"};
};

auto build_pe(const PeImage& image) -> std::string;

} // namespace korvath::test
