#include "tools/session/net/peer_link.hpp"

#include "tools/session/net/secure_random.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;

auto in_us(nanoseconds value) -> int64_t {
    return std::chrono::duration_cast<std::chrono::microseconds>(value).count();
}

} // namespace

PeerLink::PeerLink(PeerSide side, const SessionKey& key, std::optional<UdpEndpoint> host, NonceSource nonces)
    : m_side(side)
    , m_key(key)
    , m_host(std::move(host))
    , m_nonces(std::move(nonces)) {
    m_nonce = fresh_nonce();
}

auto PeerLink::secure_nonce() -> uint64_t {
    std::array<uint8_t, 8> bytes{};
    fill_secure_random(bytes);
    uint64_t value = 0;
    for (const uint8_t byte : bytes)
        value = (value << 8) | byte;
    return value;
}

auto PeerLink::fresh_nonce() -> uint64_t {
    uint64_t nonce = 0;
    // Zero means "no nonce known" on the wire, and the new nonce must differ from the old one.
    for (int attempt = 0; attempt < 8 && (nonce == 0 || nonce == m_nonce); ++attempt)
        nonce = m_nonces();
    return nonce == 0 || nonce == m_nonce ? m_nonce + 1 : nonce;
}

auto PeerLink::drop(Reception reception, DropKind kind) -> Reception {
    m_drops.add(kind);
    reception.dropped = kind;
    return reception;
}

auto PeerLink::forget_peer() -> void {
    if (m_peer)
        m_formerPeerNonce = m_peer->nonce;
    m_peer.reset();
    m_candidate.reset();
    m_echo.reset();
    m_lastHello.reset();
    m_roundTrip.clear();
    m_loss.clear();
    m_nonce = fresh_nonce();
}

auto PeerLink::expire(nanoseconds now) -> bool {
    if (!m_peer || now - m_peer->lastHeard <= kPeerSilenceLimit)
        return false;
    forget_peer();
    return true;
}

auto PeerLink::receive(const UdpEndpoint& from, std::span<const uint8_t> datagram, nanoseconds now)
    -> Reception {
    Reception reception;
    reception.lost = expire(now);
    // The address is checked before the tag: a flood from elsewhere costs no hashing.
    if ((m_host && !same_endpoint(from, *m_host)) || (m_peer && !same_endpoint(from, m_peer->address)))
        return drop(reception, DropKind::Address);
    auto opened = open_packet(m_key, datagram);
    if (const auto* kind = std::get_if<DropKind>(&opened))
        return drop(reception, *kind);
    const Packet& packet = std::get<Packet>(opened);
    if (packet.side == m_side) // this side's own packet sent back
        return drop(reception, DropKind::Replay);

    if (packet.receiverNonce == m_nonce) {
        if (m_peer && packet.senderNonce != m_peer->nonce)
            return drop(reception, DropKind::Replay);
        if (m_peer && packet.sequence <= m_peer->lastSequence) {
            m_loss.add(packet.sequence, now); // late, but not lost
            return drop(reception, DropKind::Late);
        }
        if (!m_peer) {
            m_peer = Peer{from, packet.senderNonce, 0, now};
            m_candidate.reset();
            m_formerPeerNonce = 0;
            m_peerQuit = false;
            reception.connected = true;
        }
        m_peer->lastSequence = packet.sequence;
        m_peer->lastHeard = now;
        m_echo = Echo{packet.sentUs, now};
        if (packet.echoUs > 0)
            m_roundTrip.add(std::chrono::microseconds(packet.echoUs),
                            std::chrono::microseconds(packet.echoHeldUs), now);
        m_loss.add(packet.sequence, now);
        if (packet.kind == PacketKind::Bye) {
            forget_peer();
            m_peerQuit = true;
            reception.quit = true;
        } else if (packet.pose) {
            reception.pose = packet.pose;
            reception.sentUs = packet.sentUs;
        }
        return reception;
    }
    // Not addressed to this connection: only a hello may start one, and only while there is no peer.
    if (packet.senderNonce == m_formerPeerNonce || (m_peer && packet.senderNonce == m_peer->nonce))
        return drop(reception, DropKind::Late); // the peer's own earlier packets
    if (packet.kind != PacketKind::Hello || m_peer)
        return drop(reception, DropKind::Replay);
    if (m_side == PeerSide::Joiner)
        return drop(reception, DropKind::Replay); // a joiner answers no hello; it waits for the host's answer
    if (!m_candidate || m_candidate->nonce != packet.senderNonce ||
        !same_endpoint(from, m_candidate->address)) {
        m_nonce = fresh_nonce();
        m_candidate = Peer{from, packet.senderNonce, packet.sequence, now};
    } else if (packet.sequence <= m_candidate->lastSequence) {
        return drop(reception, DropKind::Late);
    }
    m_candidate->lastSequence = packet.sequence;
    m_echo = Echo{packet.sentUs, now};
    reception.reply = OutgoingDatagram{from, seal(PacketKind::Hello, packet.senderNonce, std::nullopt, now)};
    return reception;
}

auto PeerLink::seal(PacketKind kind, uint64_t receiverNonce, const std::optional<PosePayload>& pose,
                    nanoseconds now) -> std::vector<uint8_t> {
    Packet packet;
    packet.kind = kind;
    packet.side = m_side;
    packet.senderNonce = m_nonce;
    packet.receiverNonce = receiverNonce;
    packet.sequence = ++m_sequence;
    packet.sentUs = in_us(now);
    if (m_echo) {
        packet.echoUs = m_echo->sentUs;
        packet.echoHeldUs =
            static_cast<uint32_t>(std::clamp<int64_t>(in_us(now - m_echo->receivedAt), 0, 60'000'000));
    }
    if (kind == PacketKind::Pose)
        packet.pose = pose;
    return seal_packet(m_key, packet);
}

auto PeerLink::outgoing(const std::optional<PosePayload>& pose, nanoseconds now)
    -> std::optional<OutgoingDatagram> {
    if (m_peer)
        return OutgoingDatagram{m_peer->address,
                                seal(pose ? PacketKind::Pose : PacketKind::Hello, m_peer->nonce, pose, now)};
    if (!m_host || (m_lastHello && now - *m_lastHello < kHelloInterval))
        return std::nullopt;
    m_lastHello = now;
    return OutgoingDatagram{*m_host, seal(PacketKind::Hello, 0, std::nullopt, now)};
}

auto PeerLink::farewell(nanoseconds now) -> std::optional<OutgoingDatagram> {
    if (!m_peer)
        return std::nullopt;
    OutgoingDatagram bye{m_peer->address, seal(PacketKind::Bye, m_peer->nonce, std::nullopt, now)};
    forget_peer();
    return bye;
}

auto PeerLink::peer_address() const -> std::optional<UdpEndpoint> {
    if (m_peer)
        return m_peer->address;
    return std::nullopt;
}

auto PeerLink::last_heard() const -> std::optional<nanoseconds> {
    if (m_peer)
        return m_peer->lastHeard;
    return std::nullopt;
}

} // namespace korvath::session_tool
