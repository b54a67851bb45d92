#pragma once
// A UDP socket that never blocks the session loop: receives only what has arrived, and waits for the
// next datagram no longer than the caller allows.

#include "tools/session/net/udp_endpoint.hpp"

#include <asio/io_context.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

namespace korvath::session_tool {

class UdpSocket {
public:
    // Bound to `local`. An IPv6 wildcard address also takes IPv4 where the system allows it. Throws
    // std::system_error when the socket cannot be opened or bound.
    explicit UdpSocket(const UdpEndpoint& local);
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    auto local_endpoint() const -> UdpEndpoint;
    auto dual_stack() const -> bool { return m_dualStack; }

    // One datagram that has arrived, into `buffer`; nothing when none is waiting. A datagram larger than
    // the buffer comes back cut (and then fails its tag).
    auto receive(std::span<uint8_t> buffer, UdpEndpoint& from) -> std::optional<std::size_t>;
    // False when the system refused the datagram; UDP gives no other news.
    auto send(const UdpEndpoint& to, std::span<const uint8_t> bytes) -> bool;
    // Returns when a datagram is waiting, or after `timeout`.
    auto wait_readable(std::chrono::nanoseconds timeout) -> void;

private:
    asio::io_context m_io;
    asio::ip::udp::socket m_socket;
    bool m_dualStack = false;
};

// The wildcard address a host listens on: IPv6 (with IPv4) where the system has it, else IPv4.
auto host_listen_endpoint(uint16_t port) -> UdpEndpoint;

// Any local port of the same family as `remote`, for a joiner.
auto joiner_local_endpoint(const UdpEndpoint& remote) -> UdpEndpoint;

} // namespace korvath::session_tool
