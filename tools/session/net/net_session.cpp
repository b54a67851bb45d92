#include "tools/session/net/net_session.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/net/local_pose_source.hpp"
#include "tools/session/watch/proxy_report.hpp"

#include <algorithm>
#include <array>

namespace korvath::session_tool {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

// Datagrams taken per turn of the loop at most, so that a flood cannot hold off sending and writing.
constexpr int kReceivesPerTurn = 2048;
constexpr nanoseconds kLiveStatusPeriod = std::chrono::milliseconds(250);
constexpr nanoseconds kLoggedStatusPeriod = std::chrono::seconds(5);
constexpr nanoseconds kSharedStatusPeriod = std::chrono::milliseconds(100); // for status() from outside
constexpr int kGoodbyeCopies = 3; // a goodbye is sent this often, against loss

auto clock_now() -> nanoseconds {
    return std::chrono::duration_cast<nanoseconds>(Clock::now().time_since_epoch());
}

auto in_seconds(nanoseconds at) -> double {
    return std::chrono::duration<double>(at).count();
}

auto side_identity(PeerSide side) -> std::pair<std::string, std::string> {
    return side == PeerSide::Host ? std::pair<std::string, std::string>{"player-host", "KESTREN HOST"}
                                  : std::pair<std::string, std::string>{"player-join", "KESTREN JOINER"};
}

auto local_endpoint_for(const NetSessionOptions& options) -> UdpEndpoint {
    return options.side == PeerSide::Host ? host_listen_endpoint(options.port)
                                          : joiner_local_endpoint(options.host.value_or(UdpEndpoint{}));
}

} // namespace

NetSession::NetSession(NetSessionOptions options)
    : m_options(std::move(options))
    , m_socket(local_endpoint_for(m_options))
    , m_port(m_socket.local_endpoint().port())
    , m_link(m_options.side, m_options.key,
             m_options.side == PeerSide::Joiner ? m_options.host : std::nullopt)
    , m_writer(m_options.gameDir, m_options.predict) {
    m_status.waitingFor = m_options.side == PeerSide::Host
                              ? "waiting for a joiner on port " + std::to_string(local_port())
                              : "saying hello to " + format_endpoint(m_options.host.value_or(UdpEndpoint{}));
    m_shared = m_status;
}

auto NetSession::status() const -> NetStatus {
    const std::lock_guard lock(m_statusMutex);
    return m_shared;
}

auto NetSession::update_status(nanoseconds now) -> void {
    m_status.drops = m_link.drops();
    m_status.roundTrip = m_link.round_trip().smoothed();
    m_status.loss = m_link.loss();
    if (const auto peer = m_link.peer_address()) {
        m_status.state = PeerState::Connected;
        m_status.peer = format_endpoint(*peer);
    }
    const auto lastPoseAt = m_writer.last_pose_at();
    m_status.poseAge = lastPoseAt ? std::optional<nanoseconds>(now - *lastPoseAt) : std::nullopt;
    m_status.desync = m_desync.figures(in_seconds(now));
    const std::lock_guard lock(m_statusMutex);
    m_shared = m_status;
}

// The mod rewrites its status report once a second: the proxy it shows then, placed on the loop's clock
// by the report's age.
auto NetSession::measure_desync(nanoseconds now) -> void {
    const auto report =
        read_if_rewritten(exchange_dir_of(m_options.gameDir) / kStatusReport, m_statusReportSeen);
    if (!report)
        return;
    if (const auto proxy = shown_proxy_position(report->first)) {
        const auto age = std::filesystem::file_time_type::clock::now() - report->second;
        m_desync.add_proxy(in_seconds(now - std::chrono::duration_cast<nanoseconds>(age)), *proxy);
    }
}

auto NetSession::run(std::ostream& out) -> int {
    const auto [playerId, displayName] = side_identity(m_options.side);
    LocalPoseSource source(m_options.gameDir, playerId, displayName);
    const nanoseconds sendPeriod =
        nanoseconds(std::chrono::seconds(1)) / std::clamp(m_options.poseHz, 1, 1000);
    const nanoseconds writePeriod = nanoseconds(std::chrono::seconds(1)) / kRemoteWriteHz;
    const nanoseconds statusPeriod = m_options.liveStatus ? kLiveStatusPeriod : kLoggedStatusPeriod;
    const nanoseconds start = clock_now();
    const nanoseconds end = m_options.duration ? start + *m_options.duration : nanoseconds::max();
    nanoseconds nextSend = start, nextWrite = start, nextStatus = start + statusPeriod, nextShare = start;
    std::array<uint8_t, kMaxPacketBytes + 1> buffer{};
    std::string shownLine;
    std::optional<PosePayload> localPose;

    const auto event = [&](const std::string& text) {
        out << (m_options.liveStatus && !shownLine.empty() ? "\r\x1b[K" : "") << text << "\n" << std::flush;
        shownLine.clear();
    };
    const auto peer_gone = [&](PeerState state, nanoseconds now) {
        m_writer.clear();
        m_status.state = state;
        update_status(now);
        event(state == PeerState::Quit ? "peer quit" : "peer lost: nothing heard for 1.5 s");
    };
    const auto send = [&](const std::optional<OutgoingDatagram>& datagram) {
        if (datagram)
            m_socket.send(datagram->to, datagram->bytes);
    };

    event(m_status.waitingFor);
    bool abandoned = false;
    while (true) {
        if (m_options.abandon && m_options.abandon()) {
            abandoned = true;
            break;
        }
        if ((m_options.stop && m_options.stop()) || clock_now() >= end)
            break;
        nanoseconds now = clock_now();
        UdpEndpoint from;
        for (int count = 0; count < kReceivesPerTurn; ++count) {
            const auto size = m_socket.receive(buffer, from);
            if (!size)
                break;
            now = clock_now();
            Reception reception = m_link.receive(from, std::span<const uint8_t>(buffer.data(), *size), now);
            send(reception.reply);
            if (reception.lost)
                peer_gone(PeerState::Lost, now);
            if (reception.connected) {
                ++m_status.connections;
                m_status.state = PeerState::Connected;
                m_status.longestPoseGap = {};
                update_status(now);
                event("connected to " + format_endpoint(from));
            }
            if (reception.pose) {
                if (const auto last = m_writer.last_pose_at())
                    m_status.longestPoseGap = std::max(m_status.longestPoseGap, now - *last);
                const auto shortest = m_link.round_trip().shortest();
                const auto takenAt =
                    m_writer.take(*reception.pose, reception.sentUs,
                                  shortest ? std::optional<nanoseconds>(*shortest / 2) : std::nullopt, now);
                if (takenAt) {
                    const PlayerPose& pose = reception.pose->pose;
                    m_desync.add_player(in_seconds(*takenAt), {pose.x, pose.y, pose.z});
                    nextWrite = now; // a stop or a turn reaches the row at once
                }
                ++m_status.posesTaken;
            }
            if (reception.quit)
                peer_gone(PeerState::Quit, now);
        }
        now = clock_now();
        if (m_link.expire(now))
            peer_gone(PeerState::Lost, now);
        // The local state is looked at on every turn (a new sample is read soon after its write, which
        // times it best), and the latest pose goes out at the send rate.
        localPose = source.read(std::filesystem::file_time_type::clock::now(), now);
        m_status.local = source.outcome();
        if (now >= nextSend) {
            send(m_link.outgoing(localPose, now));
            nextSend = std::max(nextSend + sendPeriod, now);
        }
        if (now >= nextWrite) {
            const WriteOutcome outcome = m_writer.write(now);
            m_status.rowsWritten += outcome == WriteOutcome::Written ? 1 : 0;
            m_status.rowsFailed += outcome == WriteOutcome::Failed ? 1 : 0;
            nextWrite = std::max(nextWrite + writePeriod, now);
        }
        if (now >= nextShare) {
            if (m_options.notes) {
                SessionNotes notes = m_options.notes(now);
                for (const std::string& line : notes.events)
                    event(line);
                m_status.note = std::move(notes.status);
            }
            measure_desync(now);
            update_status(now);
            nextShare = std::max(nextShare + kSharedStatusPeriod, now);
        }
        if (now >= nextStatus) {
            update_status(now);
            const std::string line = format_net_status(m_status);
            if (m_options.liveStatus) {
                out << "\r\x1b[K" << line << std::flush;
                shownLine = line;
            } else {
                out << line << "\n" << std::flush;
            }
            nextStatus = std::max(nextStatus + statusPeriod, now);
        }
        const nanoseconds wake = std::min({nextSend, nextWrite, nextStatus, nextShare, end});
        m_socket.wait_readable(std::min(wake - clock_now(), nanoseconds(std::chrono::milliseconds(20))));
    }
    // The last status is the link as it stood, before the goodbye forgets the peer.
    update_status(clock_now());
    if (!abandoned) {
        const auto bye = m_link.farewell(clock_now());
        for (int copy = 0; copy < kGoodbyeCopies && bye; ++copy)
            send(bye);
    }
    event(std::string(abandoned ? "abandoned" : "stopped") + "; " + format_net_status(m_status));
    return 0;
}

} // namespace korvath::session_tool
