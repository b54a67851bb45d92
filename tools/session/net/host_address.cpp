#include "tools/session/net/host_address.hpp"

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <charconv>
#include <stdexcept>

namespace korvath::session_tool {

namespace {

constexpr std::size_t kLongestHostName = 253;

} // namespace

auto parse_port(std::string_view text, bool allowZero) -> std::optional<uint16_t> {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value > 65535 ||
        (value == 0 && !allowZero))
        return std::nullopt;
    return static_cast<uint16_t>(value);
}

auto parse_host_address(std::string_view text) -> std::optional<HostAddress> {
    HostAddress address;
    std::string_view host = text;
    if (text.starts_with("[")) {
        const auto close = text.find(']');
        if (close == std::string_view::npos)
            return std::nullopt;
        host = text.substr(1, close - 1);
        const std::string_view rest = text.substr(close + 1);
        if (!rest.empty()) {
            if (!rest.starts_with(":"))
                return std::nullopt;
            const auto port = parse_port(rest.substr(1), false);
            if (!port)
                return std::nullopt;
            address.port = *port;
        }
    } else if (const auto colon = text.find(':');
               colon != std::string_view::npos && text.find(':', colon + 1) == std::string_view::npos) {
        host = text.substr(0, colon);
        const auto port = parse_port(text.substr(colon + 1), false);
        if (!port)
            return std::nullopt;
        address.port = *port;
    }
    if (host.empty() || host.size() > kLongestHostName)
        return std::nullopt;
    for (const char c : host)
        if (static_cast<unsigned char>(c) <= 0x20 || c == '/' || c == '[' || c == ']')
            return std::nullopt;
    address.host = std::string(host);
    return address;
}

auto resolve_host_address(const HostAddress& address) -> UdpEndpoint {
    asio::io_context io;
    asio::ip::udp::resolver resolver(io);
    asio::error_code error;
    const auto results = resolver.resolve(address.host, std::to_string(address.port), error);
    if (error || results.empty())
        throw std::runtime_error("cannot resolve host '" + address.host + "'" +
                                 (error ? ": " + error.message() : std::string()));
    return results.begin()->endpoint();
}

} // namespace korvath::session_tool
