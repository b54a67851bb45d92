#include "tools/session/doctor/pe_image.hpp"

#include <algorithm>
#include <optional>

namespace korvath::session_tool {

namespace {

constexpr uint16_t kPe32Magic = 0x10b;
constexpr uint16_t kPe32PlusMagic = 0x20b;
constexpr uint16_t kDllCharacteristic = 0x2000;
constexpr std::size_t kLongestName = 512;
constexpr uint32_t kMostNames = 65536;
constexpr uint32_t kMostImports = 4096;

// Little-endian reads that fail instead of reading past the end.
class Bytes {
public:
    explicit Bytes(std::string_view data)
        : m_data(data) {}

    auto u16(uint64_t offset) const -> std::optional<uint16_t> {
        if (!fits(offset, 2))
            return std::nullopt;
        return static_cast<uint16_t>(byte(offset) | byte(offset + 1) << 8);
    }
    auto u32(uint64_t offset) const -> std::optional<uint32_t> {
        if (!fits(offset, 4))
            return std::nullopt;
        return static_cast<uint32_t>(byte(offset) | byte(offset + 1) << 8 | byte(offset + 2) << 16 |
                                     static_cast<uint32_t>(byte(offset + 3)) << 24);
    }
    // A NUL-terminated name of at most kLongestName bytes.
    auto name(uint64_t offset) const -> std::optional<std::string> {
        if (offset >= m_data.size())
            return std::nullopt;
        const std::string_view rest = m_data.substr(static_cast<std::size_t>(offset));
        const std::size_t end = rest.find('\0');
        if (end == std::string_view::npos || end > kLongestName)
            return std::nullopt;
        return std::string(rest.substr(0, end));
    }
    auto fits(uint64_t offset, uint64_t size) const -> bool {
        return offset <= m_data.size() && size <= m_data.size() - offset;
    }

private:
    auto byte(uint64_t offset) const -> uint32_t {
        return static_cast<unsigned char>(m_data[static_cast<std::size_t>(offset)]);
    }
    std::string_view m_data;
};

struct Section {
    uint32_t virtualAddress = 0, virtualSize = 0, rawOffset = 0, rawSize = 0;
};

// Maps relative virtual addresses to file offsets through the section table.
class AddressMap {
public:
    explicit AddressMap(std::vector<Section> sections)
        : m_sections(std::move(sections)) {}

    auto offset_of(uint32_t rva) const -> std::optional<uint64_t> {
        for (const auto& section : m_sections) {
            const uint64_t span = std::max(section.virtualSize, section.rawSize);
            if (rva >= section.virtualAddress && rva - section.virtualAddress < span &&
                rva - section.virtualAddress < section.rawSize)
                return uint64_t{section.rawOffset} + (rva - section.virtualAddress);
        }
        return std::nullopt;
    }

private:
    std::vector<Section> m_sections;
};

auto read_exports(const Bytes& bytes, const AddressMap& map, uint32_t rva)
    -> std::variant<std::vector<std::string>, std::string> {
    std::vector<std::string> names;
    if (rva == 0)
        return names;
    const auto directory = map.offset_of(rva);
    const auto count = directory ? bytes.u32(*directory + 24) : std::nullopt;
    const auto table = directory ? bytes.u32(*directory + 32) : std::nullopt;
    if (!count || !table || *count > kMostNames)
        return std::string("its export table is damaged");
    const auto tableOffset = map.offset_of(*table);
    for (uint32_t i = 0; i < *count; ++i) {
        const auto nameRva = tableOffset ? bytes.u32(*tableOffset + 4ULL * i) : std::nullopt;
        const auto nameOffset = nameRva ? map.offset_of(*nameRva) : std::nullopt;
        auto name = nameOffset ? bytes.name(*nameOffset) : std::nullopt;
        if (!name)
            return std::string("its export table is damaged");
        names.push_back(std::move(*name));
    }
    return names;
}

auto read_imports(const Bytes& bytes, const AddressMap& map, uint32_t rva)
    -> std::variant<std::vector<std::string>, std::string> {
    std::vector<std::string> dlls;
    if (rva == 0)
        return dlls;
    const auto directory = map.offset_of(rva);
    if (!directory)
        return std::string("its import table is damaged");
    for (uint32_t i = 0;; ++i) {
        const uint64_t entry = *directory + 20ULL * i;
        const auto nameRva = bytes.u32(entry + 12);
        const auto thunks = bytes.u32(entry + 16);
        if (!nameRva || !thunks || i >= kMostImports)
            return std::string("its import table is damaged");
        if (*nameRva == 0 && *thunks == 0)
            return dlls;
        const auto nameOffset = map.offset_of(*nameRva);
        auto name = nameOffset ? bytes.name(*nameOffset) : std::nullopt;
        if (!name)
            return std::string("its import table is damaged");
        dlls.push_back(std::move(*name));
    }
}

} // namespace

auto read_pe_image(std::string_view data) -> std::variant<PeImage, std::string> {
    const Bytes bytes(data);
    if (data.size() < 64 || data.substr(0, 2) != "MZ")
        return std::string("no MZ header");
    const auto peOffset = bytes.u32(0x3c);
    if (!peOffset || !bytes.fits(*peOffset, 24) || data.substr(*peOffset, 4) != std::string_view("PE\0\0", 4))
        return std::string("no PE header");
    const uint64_t fileHeader = *peOffset + 4ULL;
    PeImage image;
    image.machine = *bytes.u16(fileHeader);
    const uint16_t sectionCount = *bytes.u16(fileHeader + 2);
    const uint16_t optionalSize = *bytes.u16(fileHeader + 16);
    image.isDll = (*bytes.u16(fileHeader + 18) & kDllCharacteristic) != 0;
    const uint64_t optional = fileHeader + 20;
    const auto magic = bytes.u16(optional);
    if (!magic || (*magic != kPe32Magic && *magic != kPe32PlusMagic) || !bytes.fits(optional, optionalSize))
        return std::string("its optional header is damaged");
    image.is64Bit = *magic == kPe32PlusMagic;
    // The data directories follow the fixed fields: export table first, import table second.
    const uint64_t directoryCountAt = optional + (image.is64Bit ? 108 : 92);
    const auto directoryCount = bytes.u32(directoryCountAt);
    if (!directoryCount ||
        directoryCountAt + 4 + 8ULL * std::min<uint32_t>(*directoryCount, 2) > optional + optionalSize)
        return std::string("its optional header is damaged");
    const auto directory_rva = [&](uint32_t index) -> uint32_t {
        return index < *directoryCount ? *bytes.u32(directoryCountAt + 4 + 8ULL * index) : 0;
    };
    std::vector<Section> sections;
    const uint64_t sectionTable = optional + optionalSize;
    for (uint16_t i = 0; i < sectionCount; ++i) {
        const uint64_t at = sectionTable + 40ULL * i;
        if (!bytes.fits(at, 40))
            return std::string("its section table is cut short");
        sections.push_back(
            {*bytes.u32(at + 12), *bytes.u32(at + 8), *bytes.u32(at + 20), *bytes.u32(at + 16)});
    }
    const AddressMap map(std::move(sections));
    auto exports = read_exports(bytes, map, directory_rva(0));
    if (auto* problem = std::get_if<std::string>(&exports))
        return *problem;
    auto imports = read_imports(bytes, map, directory_rva(1));
    if (auto* problem = std::get_if<std::string>(&imports))
        return *problem;
    image.exports = std::move(std::get<0>(exports));
    image.importDlls = std::move(std::get<0>(imports));
    return image;
}

auto imports_dll(const PeImage& image, std::string_view dllName) -> bool {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::any_of(image.importDlls, [&](const std::string& name) {
        return std::ranges::equal(name, dllName, {}, lower, lower);
    });
}

} // namespace korvath::session_tool
