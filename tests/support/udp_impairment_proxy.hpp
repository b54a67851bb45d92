#pragma once
// A UDP relay on loopback that makes the network worse: each datagram is held for a delay with jitter,
// or lost, by a seeded generator, in each direction on its own. The first address that sends to it is
// its client; everything from the client goes to the server, and the server's answers go back.

#include "tools/session/net/udp_socket.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace korvath::test {

struct Impairment {
    std::chrono::milliseconds delay{0};
    std::chrono::milliseconds jitter{0}; // the delay varies evenly by up to this much either way
    double loss = 0.0;                   // 0..1
};

class UdpImpairmentProxy {
public:
    // Forwards to `server` (loopback) until destroyed.
    UdpImpairmentProxy(const session_tool::UdpEndpoint& server, Impairment toServer, Impairment toClient,
                       uint32_t seed);
    ~UdpImpairmentProxy();
    UdpImpairmentProxy(const UdpImpairmentProxy&) = delete;
    UdpImpairmentProxy& operator=(const UdpImpairmentProxy&) = delete;

    // Where the client sends.
    auto endpoint() const -> session_tool::UdpEndpoint;
    // What an attacker on the path does: sends `bytes` to the server as if from the client, and keeps
    // copies of the client's datagrams (the last 256) to send again.
    auto inject(std::vector<uint8_t> bytes) -> void;
    auto captured() const -> std::vector<std::vector<uint8_t>>;

private:
    auto run(Impairment toServer, Impairment toClient, uint32_t seed) -> void;

    session_tool::UdpEndpoint m_server;
    session_tool::UdpSocket m_clientSide;
    session_tool::UdpSocket m_serverSide;
    session_tool::UdpEndpoint m_endpoint; // of m_clientSide, read before the thread starts
    mutable std::mutex m_mutex;           // guards the two lists below
    std::vector<std::vector<uint8_t>> m_injected;
    std::vector<std::vector<uint8_t>> m_captured;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace korvath::test
