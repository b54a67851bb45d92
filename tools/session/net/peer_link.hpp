#pragma once
// One side's view of the connection to the other: which peer it talks to, what it accepts from it, and
// the packets it sends. It opens no socket and reads no clock; the caller passes the datagrams and the
// time (nanoseconds of its monotonic clock).
//
// Each side has a random connection nonce and names, in every packet, its own nonce and the one it
// knows for the other side. A joiner says hello to the host's address until the host answers with a
// hello addressed to the joiner's nonce; the host answers a hello by taking a fresh nonce of its own
// and addressing the answer to the joiner. The first authentic packet addressed to a side's current
// nonce makes the sender its peer; from then on only that address and nonce count, and only packets
// numbered above the last one taken. A side that hears nothing from its peer for a while, or gets its
// goodbye, drops it and takes a fresh nonce, so that no packet of an earlier connection is taken again.

#include "tools/session/net/drop_counts.hpp"
#include "tools/session/net/loss_meter.hpp"
#include "tools/session/net/packet.hpp"
#include "tools/session/net/round_trip.hpp"
#include "tools/session/net/udp_endpoint.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace korvath::session_tool {

// A peer silent for this long is dropped.
inline constexpr std::chrono::nanoseconds kPeerSilenceLimit = std::chrono::milliseconds(1500);
// How often a side without a peer says hello.
inline constexpr std::chrono::nanoseconds kHelloInterval = std::chrono::milliseconds(250);

struct OutgoingDatagram {
    UdpEndpoint to;
    std::vector<uint8_t> bytes;
};

// What one received datagram brought.
struct Reception {
    std::optional<DropKind> dropped;
    std::optional<PosePayload> pose;       // a pose newer than any before
    int64_t sentUs = 0;                    // the pose packet's sent time, on the peer's clock
    std::optional<OutgoingDatagram> reply; // a hello answered
    bool lost = false;                     // the peer was dropped for silence before this datagram
    bool connected = false;                // the sender has just become the peer
    bool quit = false;                     // the peer said goodbye
};

class PeerLink {
public:
    using NonceSource = std::function<uint64_t()>;

    // A joiner passes the host's address: it talks to nothing else. A host passes nothing.
    PeerLink(PeerSide side, const SessionKey& key, std::optional<UdpEndpoint> host,
             NonceSource nonces = secure_nonce);

    auto receive(const UdpEndpoint& from, std::span<const uint8_t> datagram, std::chrono::nanoseconds now)
        -> Reception;
    // Drops a peer that has been silent too long. Returns true when it did.
    auto expire(std::chrono::nanoseconds now) -> bool;
    // The packet to send now: with a peer, the pose (or, without one, a hello that keeps the connection);
    // without one, a joiner's hello at most every kHelloInterval.
    auto outgoing(const std::optional<PosePayload>& pose, std::chrono::nanoseconds now)
        -> std::optional<OutgoingDatagram>;
    // The goodbye to the peer, when there is one; the peer is dropped.
    auto farewell(std::chrono::nanoseconds now) -> std::optional<OutgoingDatagram>;

    auto connected() const -> bool { return m_peer.has_value(); }
    auto peer_address() const -> std::optional<UdpEndpoint>;
    auto last_heard() const -> std::optional<std::chrono::nanoseconds>;
    auto peer_quit() const -> bool { return m_peerQuit; }
    auto drops() const -> const DropCounts& { return m_drops; }
    auto round_trip() const -> const RoundTrip& { return m_roundTrip; }
    auto loss() const -> std::optional<double> { return m_loss.loss(); }

    static auto secure_nonce() -> uint64_t;

private:
    struct Peer {
        UdpEndpoint address;
        uint64_t nonce = 0;
        uint64_t lastSequence = 0;
        std::chrono::nanoseconds lastHeard{};
    };
    struct Echo {
        int64_t sentUs = 0;                    // the peer's clock
        std::chrono::nanoseconds receivedAt{}; // this side's clock
    };

    auto drop(Reception reception, DropKind kind) -> Reception;
    auto seal(PacketKind kind, uint64_t receiverNonce, const std::optional<PosePayload>& pose,
              std::chrono::nanoseconds now) -> std::vector<uint8_t>;
    auto forget_peer() -> void;
    auto fresh_nonce() -> uint64_t;

    PeerSide m_side;
    SessionKey m_key;
    std::optional<UdpEndpoint> m_host;
    NonceSource m_nonces;
    uint64_t m_nonce = 0;
    uint64_t m_sequence = 0;
    std::optional<Peer> m_peer;
    std::optional<Peer> m_candidate; // a host's last answered hello
    uint64_t m_formerPeerNonce = 0;  // the peer dropped last: its stragglers are late, not replayed
    std::optional<Echo> m_echo;
    std::optional<std::chrono::nanoseconds> m_lastHello;
    bool m_peerQuit = false;
    DropCounts m_drops;
    RoundTrip m_roundTrip;
    LossMeter m_loss;
};

} // namespace korvath::session_tool
