#include "support/pe_builder.hpp"

namespace korvath::test {

namespace {

constexpr uint32_t kSectionRva = 0x1000;
constexpr uint32_t kSectionOffset = 0x200;

auto put(std::string& bytes, std::size_t at, uint64_t value, int size) -> void {
    if (bytes.size() < at + static_cast<std::size_t>(size))
        bytes.resize(at + static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i)
        bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i) & 0xff);
}

// The section's content: export directory, name table and names, then import descriptors and names.
struct Section {
    std::string bytes;
    uint32_t exportRva = 0, importRva = 0;

    auto rva_of_end() const -> uint32_t { return kSectionRva + static_cast<uint32_t>(bytes.size()); }
    auto add_name(const std::string& name) -> uint32_t {
        const uint32_t rva = rva_of_end();
        bytes += name;
        bytes.push_back('\0');
        return rva;
    }
};

} // namespace

auto build_pe(const PeImage& image) -> std::string {
    Section section;
    section.exportRva = section.rva_of_end();
    const auto names = static_cast<uint32_t>(image.exports.size());
    put(section.bytes, 24, names, 4);
    put(section.bytes, 32, section.exportRva + 40, 4);
    section.bytes.resize(40 + 4 * names);
    for (uint32_t i = 0; i < names; ++i)
        put(section.bytes, 40 + 4 * i, section.add_name(image.exports[i]), 4);
    const uint32_t zeroThunk = section.rva_of_end();
    section.bytes.append(8, '\0');
    section.importRva = section.rva_of_end();
    const std::size_t descriptors = section.bytes.size();
    section.bytes.resize(descriptors + 20 * (image.importDlls.size() + 1));
    for (std::size_t i = 0; i < image.importDlls.size(); ++i) {
        put(section.bytes, descriptors + 20 * i + 12, section.add_name(image.importDlls[i]), 4);
        put(section.bytes, descriptors + 20 * i + 16, zeroThunk, 4);
    }

    std::string pe(kSectionOffset, '\0');
    pe[0] = 'M';
    pe[1] = 'Z';
    put(pe, 0x3c, 0x40, 4);
    pe.replace(0x40, 4, std::string("PE\0\0", 4));
    const std::size_t file = 0x44;
    const uint16_t optionalSize = image.is64Bit ? 240 : 224;
    put(pe, file, image.is64Bit ? 0x8664 : 0x14c, 2);
    put(pe, file + 2, 1, 2);
    put(pe, file + 16, optionalSize, 2);
    put(pe, file + 18, image.isDll ? 0x2022 : 0x0022, 2);
    const std::size_t optional = file + 20;
    put(pe, optional, image.is64Bit ? 0x20b : 0x10b, 2);
    const std::size_t directories = optional + (image.is64Bit ? 112 : 96);
    put(pe, directories - 4, 16, 4);
    put(pe, directories, section.exportRva, 4);
    put(pe, directories + 4, 40, 4);
    put(pe, directories + 8, section.importRva, 4);
    put(pe, directories + 12, 20 * (image.importDlls.size() + 1), 4);
    const std::size_t header = optional + optionalSize;
    pe.replace(header, 6, ".rdata");
    const auto size = static_cast<uint32_t>(section.bytes.size());
    put(pe, header + 8, size, 4);
    put(pe, header + 12, kSectionRva, 4);
    put(pe, header + 16, size, 4);
    put(pe, header + 20, kSectionOffset, 4);
    return pe + section.bytes;
}

} // namespace korvath::test
