#include "support/udp_impairment_proxy.hpp"

#include <array>
#include <optional>
#include <queue>
#include <random>
#include <vector>

namespace korvath::test {

namespace st = session_tool;
using Clock = std::chrono::steady_clock;

namespace {

struct Held {
    Clock::time_point due;
    bool toServer = true;
    std::vector<uint8_t> bytes;
    auto operator>(const Held& other) const -> bool { return due > other.due; }
};

auto loopback_like(const st::UdpEndpoint& server) -> st::UdpEndpoint {
    return server.address().is_v6() ? st::UdpEndpoint(asio::ip::address_v6::loopback(), 0)
                                    : st::UdpEndpoint(asio::ip::address_v4::loopback(), 0);
}

} // namespace

UdpImpairmentProxy::UdpImpairmentProxy(const st::UdpEndpoint& server, Impairment toServer,
                                       Impairment toClient, uint32_t seed)
    : m_server(server)
    , m_clientSide(loopback_like(server))
    , m_serverSide(loopback_like(server))
    , m_endpoint(m_clientSide.local_endpoint()) {
    m_thread = std::thread([=, this] { run(toServer, toClient, seed); });
}

UdpImpairmentProxy::~UdpImpairmentProxy() {
    m_stop = true;
    m_thread.join();
}

auto UdpImpairmentProxy::endpoint() const -> st::UdpEndpoint {
    return m_endpoint;
}

auto UdpImpairmentProxy::inject(std::vector<uint8_t> bytes) -> void {
    const std::lock_guard lock(m_mutex);
    m_injected.push_back(std::move(bytes));
}

auto UdpImpairmentProxy::captured() const -> std::vector<std::vector<uint8_t>> {
    const std::lock_guard lock(m_mutex);
    return m_captured;
}

auto UdpImpairmentProxy::run(Impairment toServer, Impairment toClient, uint32_t seed) -> void {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::priority_queue<Held, std::vector<Held>, std::greater<>> held;
    std::optional<st::UdpEndpoint> client;
    std::array<uint8_t, 2048> buffer{};

    const auto take = [&](st::UdpSocket& socket, bool fromClient) {
        const Impairment& impairment = fromClient ? toServer : toClient;
        st::UdpEndpoint from;
        for (int count = 0; count < 4096; ++count) {
            const auto size = socket.receive(buffer, from);
            if (!size)
                return;
            if (fromClient && !client)
                client = from;
            if (fromClient ? !st::same_endpoint(from, *client) : !st::same_endpoint(from, m_server))
                continue;
            if (fromClient) {
                const std::lock_guard lock(m_mutex);
                if (m_captured.size() == 256)
                    m_captured.erase(m_captured.begin());
                m_captured.emplace_back(buffer.begin(), buffer.begin() + *size);
            }
            if (unit(random) < impairment.loss)
                continue;
            const double shift = (2.0 * unit(random) - 1.0) * static_cast<double>(impairment.jitter.count());
            const auto delay = std::chrono::microseconds(
                static_cast<int64_t>((static_cast<double>(impairment.delay.count()) + shift) * 1000.0));
            held.push({Clock::now() + delay, fromClient, {buffer.begin(), buffer.begin() + *size}});
        }
    };
    while (!m_stop) {
        take(m_clientSide, true);
        take(m_serverSide, false);
        {
            const std::lock_guard lock(m_mutex);
            for (const auto& bytes : m_injected)
                m_serverSide.send(m_server, bytes);
            m_injected.clear();
        }
        while (!held.empty() && held.top().due <= Clock::now()) {
            const Held& next = held.top();
            if (next.toServer)
                m_serverSide.send(m_server, next.bytes);
            else if (client)
                m_clientSide.send(*client, next.bytes);
            held.pop();
        }
        m_clientSide.wait_readable(std::chrono::milliseconds(1));
    }
}

} // namespace korvath::test
