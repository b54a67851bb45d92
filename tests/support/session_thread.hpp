#pragma once
// A network session in a thread of its own, for tests that link two sessions on loopback.

#include "tools/session/net/net_session.hpp"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

namespace korvath::test {

// The options of a session of `side` for the game folder `dir`; a joiner gives its host's address.
inline auto net_options(session_tool::PeerSide side, const std::filesystem::path& dir,
                        const session_tool::SessionKey& key,
                        std::optional<session_tool::UdpEndpoint> host = std::nullopt)
    -> session_tool::NetSessionOptions {
    session_tool::NetSessionOptions options;
    options.side = side;
    options.gameDir = dir;
    options.key = key;
    options.host = host;
    return options;
}

// Runs until told to end, with a goodbye or without one (as if killed); never longer than two minutes.
class SessionThread {
public:
    explicit SessionThread(session_tool::NetSessionOptions options) {
        options.stop = [this] { return m_stop.load(); };
        options.abandon = [this] { return m_abandon.load(); };
        options.duration = std::chrono::seconds(120);
        m_session = std::make_unique<session_tool::NetSession>(std::move(options));
        m_thread = std::thread([this] { m_session->run(m_out); });
    }
    ~SessionThread() { end(true); }
    SessionThread(const SessionThread&) = delete;
    SessionThread& operator=(const SessionThread&) = delete;

    auto end(bool goodbye) -> void {
        (goodbye ? m_stop : m_abandon) = true;
        if (m_thread.joinable())
            m_thread.join();
    }
    auto session() -> session_tool::NetSession& { return *m_session; }
    auto status() const -> session_tool::NetStatus { return m_session->status(); }
    auto port() const -> uint16_t { return m_session->local_port(); }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_abandon{false};
    std::ostringstream m_out;
    std::unique_ptr<session_tool::NetSession> m_session;
    std::thread m_thread;
};

} // namespace korvath::test
