#pragma once
// The network link of `korvath-session host` and `join`: this game's pose to the peer over UDP, the
// peer's pose (predicted) into this game's remote_players.tsv, until stopped; a live status line.

#include "tools/session/net/net_status.hpp"
#include "tools/session/net/packet.hpp"
#include "tools/session/net/peer_link.hpp"
#include "tools/session/net/remote_pose_writer.hpp"
#include "tools/session/net/udp_socket.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>

namespace korvath::session_tool {

inline constexpr int kDefaultPoseHz = 30; // packets a second to the peer (20 to 60)
// Looks a second at the row for remote_players.tsv while poses come, and at each new pose; written as
// the row schedule asks.
inline constexpr int kRemoteWriteHz = 25;

struct NetSessionOptions {
    PeerSide side = PeerSide::Host;
    std::filesystem::path gameDir;
    SessionKey key{};
    uint16_t port = 0;               // host: the port to listen on (0: any free one)
    std::optional<UdpEndpoint> host; // joiner: the host's address
    int poseHz = kDefaultPoseHz;
    bool predict = true;
    std::optional<std::chrono::nanoseconds> duration; // nothing: until stopped
    // Polled every turn of the loop: stop and say goodbye; or stop without a word (a crash, in tests).
    std::function<bool()> stop;
    std::function<bool()> abandon;
    bool liveStatus = false; // one line rewritten in place (a terminal); else a line every few seconds
    // Polled by run()'s thread about ten times a second, with the loop's clock.
    std::function<SessionNotes(std::chrono::nanoseconds now)> notes;
};

class NetSession {
public:
    // Opens the socket. Throws std::system_error when it cannot.
    explicit NetSession(NetSessionOptions options);

    auto local_port() const -> uint16_t { return m_port; }
    // Runs until stopped; events and the status go to `out`. Returns the exit code.
    auto run(std::ostream& out) -> int;
    // The latest status, safe to read from another thread.
    auto status() const -> NetStatus;

private:
    auto update_status(std::chrono::nanoseconds now) -> void;
    auto measure_desync(std::chrono::nanoseconds now) -> void;

    NetSessionOptions m_options;
    UdpSocket m_socket;
    uint16_t m_port = 0; // read once: the socket belongs to run()'s thread
    PeerLink m_link;
    mutable std::mutex m_statusMutex;
    NetStatus m_status;
    NetStatus m_shared;        // the copy under m_statusMutex
    RemotePoseWriter m_writer; // the peer's poses into remote_players.tsv; run()'s thread only
    DesyncMeter m_desync;      // seconds on the loop's clock
    std::optional<std::filesystem::file_time_type> m_statusReportSeen;
};

} // namespace korvath::session_tool
