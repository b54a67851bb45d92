#include "tools/session/net/packet.hpp"

#include <bit>
#include <cmath>
#include <cstring>

namespace korvath::session_tool {

namespace {

constexpr std::array<uint8_t, 4> kMagic{'K', 'V', 'N', '1'};
constexpr std::size_t kHeaderBytes = 4 + 4 + 8 * 5 + 4;
constexpr std::size_t kTagBytes = std::tuple_size_v<Sha256Tag>;
constexpr std::size_t kPoseFixedBytes = 8 + 4 * 4 + 3;

class Writer {
public:
    auto bytes(std::span<const uint8_t> data) -> void { m_out.insert(m_out.end(), data.begin(), data.end()); }
    auto u8(uint8_t value) -> void { m_out.push_back(value); }
    auto u32(uint32_t value) -> void {
        for (int shift = 0; shift < 32; shift += 8)
            m_out.push_back(static_cast<uint8_t>(value >> shift));
    }
    auto u64(uint64_t value) -> void {
        for (int shift = 0; shift < 64; shift += 8)
            m_out.push_back(static_cast<uint8_t>(value >> shift));
    }
    auto f32(float value) -> void { u32(std::bit_cast<uint32_t>(value)); }
    auto text(const std::string& value) -> void {
        u8(static_cast<uint8_t>(value.size()));
        m_out.insert(m_out.end(), value.begin(), value.end());
    }
    auto take() -> std::vector<uint8_t> { return std::move(m_out); }
    auto view() const -> std::span<const uint8_t> { return m_out; }

private:
    std::vector<uint8_t> m_out;
};

// Reads fields in order; any read past the end leaves it failed, and later reads give zeros.
class Reader {
public:
    explicit Reader(std::span<const uint8_t> data)
        : m_data(data) {}
    auto ok() const -> bool { return m_ok; }
    auto at_end() const -> bool { return m_position == m_data.size(); }
    auto u8() -> uint8_t { return static_cast<uint8_t>(take(1)); }
    auto u32() -> uint32_t { return static_cast<uint32_t>(take(4)); }
    auto u64() -> uint64_t { return take(8); }
    auto f32() -> float { return std::bit_cast<float>(u32()); }
    auto text(std::size_t maxBytes) -> std::string {
        const std::size_t size = u8();
        if (size > maxBytes || size > m_data.size() - m_position) {
            m_ok = false;
            return {};
        }
        std::string value(reinterpret_cast<const char*>(m_data.data() + m_position), size);
        m_position += size;
        return value;
    }

private:
    auto take(std::size_t size) -> uint64_t {
        if (!m_ok || size > m_data.size() - m_position) {
            m_ok = false;
            return 0;
        }
        uint64_t value = 0;
        for (std::size_t index = 0; index < size; ++index)
            value |= static_cast<uint64_t>(m_data[m_position + index]) << (8 * index);
        m_position += size;
        return value;
    }

    std::span<const uint8_t> m_data;
    std::size_t m_position = 0;
    bool m_ok = true;
};

auto valid_pose(const PosePayload& payload, int64_t sentUs) -> bool {
    const PlayerPose& pose = payload.pose;
    for (const float value : {pose.x, pose.y, pose.z})
        if (!std::isfinite(value) || std::fabs(value) > kMaxCoordinate)
            return false;
    if (!std::isfinite(pose.yaw) || std::fabs(pose.yaw) > kMaxYaw)
        return false;
    if (payload.takenUs > sentUs || sentUs - payload.takenUs > kMaxPoseAgeUs)
        return false;
    // Text that needed cleaning was not written by this program: refuse it rather than guess.
    return !payload.playerId.empty() && clean_text_field(payload.playerId, kMaxIdBytes) == payload.playerId &&
           clean_text_field(payload.displayName, kMaxNameBytes) == payload.displayName &&
           clean_text_field(pose.mapName, kMaxMapBytes) == pose.mapName;
}

} // namespace

auto clean_text_field(std::string_view text, std::size_t maxBytes) -> std::string {
    std::string clean;
    bool cut = false;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            continue;
        if (clean.size() == maxBytes) {
            cut = true;
            break;
        }
        clean.push_back(c);
    }
    // A cut through a UTF-8 character drops the part of it that was kept.
    std::size_t start = clean.size();
    while (cut && start > 0 && (static_cast<unsigned char>(clean[start - 1]) & 0xC0U) == 0x80U)
        --start;
    if (cut && start > 0) {
        const auto lead = static_cast<unsigned char>(clean[start - 1]);
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
        if (clean.size() - (start - 1) < length)
            clean.resize(start - 1);
    }
    return clean;
}

auto seal_packet(const SessionKey& key, const Packet& packet) -> std::vector<uint8_t> {
    Writer out;
    out.bytes(kMagic);
    out.u8(static_cast<uint8_t>(packet.kind));
    out.u8(static_cast<uint8_t>(packet.side));
    out.u8(0);
    out.u8(0);
    out.u64(packet.senderNonce);
    out.u64(packet.receiverNonce);
    out.u64(packet.sequence);
    out.u64(static_cast<uint64_t>(packet.sentUs));
    out.u64(static_cast<uint64_t>(packet.echoUs));
    out.u32(packet.echoHeldUs);
    if (packet.kind == PacketKind::Pose && packet.pose) {
        const PosePayload& payload = *packet.pose;
        out.u64(static_cast<uint64_t>(payload.takenUs));
        for (const float value : {payload.pose.x, payload.pose.y, payload.pose.z, payload.pose.yaw})
            out.f32(value);
        out.text(clean_text_field(payload.playerId, kMaxIdBytes));
        out.text(clean_text_field(payload.displayName, kMaxNameBytes));
        out.text(clean_text_field(payload.pose.mapName, kMaxMapBytes));
    }
    const Sha256Tag tag = hmac_sha256(key, out.view());
    out.bytes(tag);
    return out.take();
}

auto open_packet(const SessionKey& key, std::span<const uint8_t> datagram) -> std::variant<Packet, DropKind> {
    if (datagram.size() < kHeaderBytes + kTagBytes || datagram.size() > kMaxPacketBytes)
        return DropKind::Malformed;
    const auto body = datagram.first(datagram.size() - kTagBytes);
    Sha256Tag tag{};
    std::memcpy(tag.data(), datagram.data() + body.size(), kTagBytes);
    if (!tags_equal(hmac_sha256(key, body), tag))
        return DropKind::Mac;

    Reader in(body);
    Packet packet;
    const bool magic =
        in.u8() == kMagic[0] && in.u8() == kMagic[1] && in.u8() == kMagic[2] && in.u8() == kMagic[3];
    const uint8_t kind = in.u8();
    const uint8_t side = in.u8();
    const bool padding = in.u8() == 0 && in.u8() == 0;
    packet.senderNonce = in.u64();
    packet.receiverNonce = in.u64();
    packet.sequence = in.u64();
    packet.sentUs = static_cast<int64_t>(in.u64());
    packet.echoUs = static_cast<int64_t>(in.u64());
    packet.echoHeldUs = in.u32();
    if (!magic || !padding || kind < 1 || kind > 3 || side < 1 || side > 2 || packet.senderNonce == 0 ||
        packet.sentUs < 0 || packet.echoUs < 0)
        return DropKind::Malformed;
    packet.kind = static_cast<PacketKind>(kind);
    packet.side = static_cast<PeerSide>(side);
    if (packet.kind == PacketKind::Pose) {
        if (body.size() < kHeaderBytes + kPoseFixedBytes)
            return DropKind::Malformed;
        PosePayload payload;
        payload.takenUs = static_cast<int64_t>(in.u64());
        payload.pose.x = in.f32();
        payload.pose.y = in.f32();
        payload.pose.z = in.f32();
        payload.pose.yaw = in.f32();
        payload.playerId = in.text(kMaxIdBytes);
        payload.displayName = in.text(kMaxNameBytes);
        payload.pose.mapName = in.text(kMaxMapBytes);
        if (!in.ok() || !valid_pose(payload, packet.sentUs))
            return DropKind::Malformed;
        packet.pose = std::move(payload);
    }
    if (!in.ok() || !in.at_end())
        return DropKind::Malformed;
    return packet;
}

} // namespace korvath::session_tool
