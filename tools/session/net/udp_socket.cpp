#include "tools/session/net/udp_socket.hpp"

#include <asio/ip/v6_only.hpp>

namespace korvath::session_tool {

namespace {

// Room for bursts of datagrams between two turns of the loop, garbage floods included.
constexpr int kReceiveBufferBytes = 1 << 20;

} // namespace

UdpSocket::UdpSocket(const UdpEndpoint& local)
    : m_socket(m_io) {
    m_socket.open(local.protocol());
    if (local.address().is_v6() && local.address().is_unspecified()) {
        asio::error_code error;
        m_socket.set_option(asio::ip::v6_only(false), error);
        m_dualStack = !error;
    }
    asio::error_code ignored;
    m_socket.set_option(asio::socket_base::receive_buffer_size(kReceiveBufferBytes), ignored);
    m_socket.bind(local);
    m_socket.non_blocking(true);
}

auto UdpSocket::local_endpoint() const -> UdpEndpoint {
    return m_socket.local_endpoint();
}

auto UdpSocket::receive(std::span<uint8_t> buffer, UdpEndpoint& from) -> std::optional<std::size_t> {
    // Windows reports an earlier datagram's "port unreachable" on the next receive: that is skipped, a
    // bounded number of times, like any other error of one datagram.
    for (int attempt = 0; attempt < 8; ++attempt) {
        asio::error_code error;
        const std::size_t size =
            m_socket.receive_from(asio::buffer(buffer.data(), buffer.size()), from, 0, error);
        if (!error || error == asio::error::message_size)
            return size;
        if (error == asio::error::would_block || error == asio::error::try_again)
            return std::nullopt;
    }
    return std::nullopt;
}

auto UdpSocket::send(const UdpEndpoint& to, std::span<const uint8_t> bytes) -> bool {
    asio::error_code error;
    UdpEndpoint target = to;
    // A dual-stack socket sends to IPv4 peers through their mapped IPv6 address.
    if (m_socket.local_endpoint().address().is_v6() && to.address().is_v4())
        target = UdpEndpoint(asio::ip::make_address_v6(asio::ip::v4_mapped, to.address().to_v4()), to.port());
    m_socket.send_to(asio::buffer(bytes.data(), bytes.size()), target, 0, error);
    return !error;
}

auto UdpSocket::wait_readable(std::chrono::nanoseconds timeout) -> void {
    if (timeout <= std::chrono::nanoseconds(0))
        return;
    bool done = false;
    m_socket.async_wait(asio::socket_base::wait_read, [&done](const asio::error_code&) { done = true; });
    m_io.restart();
    m_io.run_for(timeout);
    if (!done) {
        asio::error_code ignored;
        m_socket.cancel(ignored);
        m_io.restart();
        m_io.run();
    }
}

auto host_listen_endpoint(uint16_t port) -> UdpEndpoint {
    asio::io_context io;
    asio::ip::udp::socket probe(io);
    asio::error_code error;
    probe.open(asio::ip::udp::v6(), error);
    return error ? UdpEndpoint(asio::ip::udp::v4(), port) : UdpEndpoint(asio::ip::udp::v6(), port);
}

auto joiner_local_endpoint(const UdpEndpoint& remote) -> UdpEndpoint {
    return UdpEndpoint(remote.protocol(), 0);
}

} // namespace korvath::session_tool
