#include "tools/session/net/portmap/external_address.hpp"

#include <asio/ip/address_v4.hpp>

#include <algorithm>

namespace korvath::session_tool {

namespace {

constexpr std::size_t kLongestAddressText = 15; // "255.255.255.255"

auto in_range(uint32_t address, uint32_t network, int prefix) -> bool {
    const uint32_t mask = prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix);
    return (address & mask) == network;
}

} // namespace

auto check_external_address(std::string_view text) -> std::optional<ExternalAddress> {
    // Dotted quads only: some systems' parsers also take "1.2.3" or "0x7f.1".
    if (text.empty() || text.size() > kLongestAddressText || std::ranges::count(text, '.') != 3 ||
        !std::ranges::all_of(text, [](char c) { return c == '.' || (c >= '0' && c <= '9'); }))
        return std::nullopt;
    asio::error_code error;
    const auto address = asio::ip::make_address_v4(std::string(text), error);
    if (error || address.is_unspecified() || address.is_multicast() ||
        address == asio::ip::address_v4::broadcast())
        return std::nullopt;
    const uint32_t bits = address.to_uint();
    const bool isPrivate = in_range(bits, 0x0A000000, 8) || in_range(bits, 0xAC100000, 12) ||
                           in_range(bits, 0xC0A80000, 16) || in_range(bits, 0x64400000, 10) ||
                           in_range(bits, 0xA9FE0000, 16) || in_range(bits, 0x7F000000, 8);
    return ExternalAddress{address.to_string(), isPrivate ? AddressScope::Private : AddressScope::Public};
}

} // namespace korvath::session_tool
