#pragma once
// The datagrams between host and joiner. Every one is sealed with an HMAC-SHA256 tag under the session
// key over all its other bytes; opening checks the size, the tag, then every field.
//
// Layout, little-endian: "KVN1", kind (1 byte), sender's side (1), two zero bytes, the sender's
// connection nonce (8), the nonce the sender knows for the receiver (8, 0 when none), sequence (8),
// sent time (8, microseconds of the sender's clock), echoed time (8, the latest sent time received from
// the receiver, 0 when none), how long the echoed packet was held before this one left (4, us);
// a pose adds taken time (8, sender's clock, us), x, y, z, yaw (4 each, IEEE floats), then the player
// id, display name and map name, each one length byte and that many bytes; then the 32-byte tag.

#include "tools/session/exchange/player_pose.hpp"
#include "tools/session/net/drop_counts.hpp"
#include "tools/session/net/session_code.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace korvath::session_tool {

enum class PacketKind : uint8_t { Hello = 1, Pose = 2, Bye = 3 };
enum class PeerSide : uint8_t { Host = 1, Joiner = 2 };

inline constexpr std::size_t kMaxIdBytes = 32;
inline constexpr std::size_t kMaxNameBytes = 64;
inline constexpr std::size_t kMaxMapBytes = 128;
inline constexpr std::size_t kMaxPacketBytes = 512;
// Coordinates beyond this many units from the origin, and yaws beyond this many degrees, are refused.
inline constexpr float kMaxCoordinate = 1.0e7F;
inline constexpr float kMaxYaw = 720.0F;
// A pose taken longer than this before its packet was sent is refused.
inline constexpr int64_t kMaxPoseAgeUs = 10'000'000;

struct PosePayload {
    int64_t takenUs = 0; // sender's clock
    PlayerPose pose;
    std::string playerId;
    std::string displayName;
};

struct Packet {
    PacketKind kind = PacketKind::Hello;
    PeerSide side = PeerSide::Host;
    uint64_t senderNonce = 0;
    uint64_t receiverNonce = 0;
    uint64_t sequence = 0;
    int64_t sentUs = 0;
    int64_t echoUs = 0;
    uint32_t echoHeldUs = 0;
    std::optional<PosePayload> pose; // with PacketKind::Pose only
};

// The datagram for `packet`. Text fields are cleaned and cut to their caps first.
auto seal_packet(const SessionKey& key, const Packet& packet) -> std::vector<uint8_t>;

// The packet, or why the datagram is thrown away: Malformed for a wrong size before the tag is checked
// and for any invalid field after; Mac for a tag that does not match.
auto open_packet(const SessionKey& key, std::span<const uint8_t> datagram) -> std::variant<Packet, DropKind>;

// `text` without control bytes (below 0x20, and 0x7F: no tab or line break can reach an exchange file),
// cut to `maxBytes`.
auto clean_text_field(std::string_view text, std::size_t maxBytes) -> std::string;

} // namespace korvath::session_tool
