#pragma once
// What doctor needs to know of a Windows executable image: its processor, whether it is a DLL, the
// names it exports and the DLLs it imports. Read from the file's bytes with every offset and size
// checked against the buffer, so a truncated or hostile file gives an error, never a read outside it.
// (No PE library is packaged for both the Linux and the MinGW build; the headers are few and fixed.)

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace korvath::session_tool {

inline constexpr uint16_t kMachineAmd64 = 0x8664;

struct PeImage {
    uint16_t machine = 0;
    bool isDll = false;
    bool is64Bit = false;                  // a PE32+ optional header
    std::vector<std::string> exports{};    // exported names, as stored
    std::vector<std::string> importDlls{}; // names of the imported DLLs, as stored
};

// An image, or why the bytes are none.
auto read_pe_image(std::string_view bytes) -> std::variant<PeImage, std::string>;

// True when `image` imports a DLL of this name, ignoring case as Windows does.
auto imports_dll(const PeImage& image, std::string_view dllName) -> bool;

} // namespace korvath::session_tool
