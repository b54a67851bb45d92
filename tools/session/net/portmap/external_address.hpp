#pragma once
// The external address a router reports, checked before it is printed or used.

#include <optional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

enum class AddressScope { Public, Private }; // Private: loopback, private, shared or link-local ranges

struct ExternalAddress {
    std::string text; // canonical IPv4 form
    AddressScope scope = AddressScope::Public;
};

// Nothing when `text` is not one IPv4 address of a host (too long, garbage, 0.0.0.0, multicast or
// broadcast).
auto check_external_address(std::string_view text) -> std::optional<ExternalAddress>;

} // namespace korvath::session_tool
