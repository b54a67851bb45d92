#include "tools/session/net/packet.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace st = korvath::session_tool;

namespace {

const st::SessionKey kKey = st::derive_session_key(*st::parse_session_code("AAAA-BBBB-CCCC-DDDD-EEEE-FFFF"));

auto pose_packet() -> st::Packet {
    st::PosePayload pose{.takenUs = 9'000'000,
                         .pose = {.x = 12.5F, .y = -300.25F, .z = 100.0F, .yaw = -179.5F, .mapName = "Map_A"},
                         .playerId = "player-host",
                         .displayName = "KESTREN HOST"};
    return {.kind = st::PacketKind::Pose,
            .side = st::PeerSide::Host,
            .senderNonce = 0x1122334455667788ULL,
            .receiverNonce = 42,
            .sequence = 7,
            .sentUs = 9'050'000,
            .echoUs = 1234,
            .echoHeldUs = 56,
            .pose = pose};
}

auto opened(const std::vector<uint8_t>& datagram) -> std::variant<st::Packet, st::DropKind> {
    return st::open_packet(kKey, datagram);
}

} // namespace

// The fields' round trip shows in every network session test; here what a forger or a damaged path
// gives: another key, or any flipped bit, fails the tag.
TEST(NetPacket, ASealedPacketOpensWithItsKeyOnlyAndUndamaged) {
    const auto datagram = st::seal_packet(kKey, pose_packet());
    ASSERT_TRUE(std::holds_alternative<st::Packet>(opened(datagram)));
    const auto otherKey = st::derive_session_key(*st::parse_session_code("AAAA-BBBB-CCCC-DDDD-EEEE-FFFG"));
    EXPECT_EQ(std::get<st::DropKind>(st::open_packet(otherKey, datagram)), st::DropKind::Mac);
    for (std::size_t index = 0; index < datagram.size(); index += 7) {
        auto damaged = datagram;
        damaged[index] ^= 0x10;
        EXPECT_EQ(std::get<st::DropKind>(opened(damaged)), st::DropKind::Mac) << index;
    }
}

// Authentic packets (sealed with the right key) whose content a peer of this program never sends.
TEST(NetPacket, EveryInvalidFieldIsRefusedAfterTheTag) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::vector<std::pair<std::string, std::function<void(st::Packet&)>>> cases{
        {"x not a number", [&](st::Packet& p) { p.pose->pose.x = nan; }},
        {"z infinite", [&](st::Packet& p) { p.pose->pose.z = -inf; }},
        {"y out of the world", [](st::Packet& p) { p.pose->pose.y = 2.0e7F; }},
        {"yaw not a number", [&](st::Packet& p) { p.pose->pose.yaw = nan; }},
        {"yaw too large", [](st::Packet& p) { p.pose->pose.yaw = 1000.0F; }},
        {"pose taken after it was sent", [](st::Packet& p) { p.pose->takenUs = p.sentUs + 1; }},
        {"pose taken long before", [](st::Packet& p) { p.pose->takenUs = p.sentUs - 11'000'000; }},
        {"pose kind without a pose", [](st::Packet& p) { p.pose.reset(); }},
        {"negative sent time", [](st::Packet& p) { p.sentUs = -5; }},
        {"no sender nonce", [](st::Packet& p) { p.senderNonce = 0; }},
        {"unknown kind", [](st::Packet& p) { p.kind = static_cast<st::PacketKind>(9); }},
        {"unknown side", [](st::Packet& p) { p.side = static_cast<st::PeerSide>(0); }},
    };
    for (const auto& [name, spoil] : cases) {
        st::Packet packet = pose_packet();
        spoil(packet);
        const auto result = opened(st::seal_packet(kKey, packet));
        ASSERT_TRUE(std::holds_alternative<st::DropKind>(result)) << name;
        EXPECT_EQ(std::get<st::DropKind>(result), st::DropKind::Malformed) << name;
    }
    // Sizes are refused before any hashing.
    EXPECT_EQ(std::get<st::DropKind>(opened({})), st::DropKind::Malformed);
    EXPECT_EQ(std::get<st::DropKind>(opened(std::vector<uint8_t>(40, 0))), st::DropKind::Malformed);
    EXPECT_EQ(std::get<st::DropKind>(opened(std::vector<uint8_t>(2000, 0))), st::DropKind::Malformed);
}

TEST(NetPacket, TextFieldsCannotBreakARowOrALine) {
    st::Packet packet = pose_packet();
    packet.pose->playerId = "evil\tid\nnext";
    packet.pose->displayName = std::string("name\r\n\x7f\x01") + std::string(200, 'n');
    packet.pose->pose.mapName = "Map\t_B";
    const auto result = opened(st::seal_packet(kKey, packet));
    ASSERT_TRUE(std::holds_alternative<st::Packet>(result));
    const auto& pose = *std::get<st::Packet>(result).pose;
    EXPECT_EQ(pose.playerId, "evilidnext");
    EXPECT_EQ(pose.displayName, "name" + std::string(60, 'n'));
    EXPECT_EQ(pose.pose.mapName, "Map_B");
    // An id with nothing left is refused; a cut never leaves half a UTF-8 character.
    packet.pose->playerId = "\t\n";
    EXPECT_EQ(std::get<st::DropKind>(opened(st::seal_packet(kKey, packet))), st::DropKind::Malformed);
    EXPECT_EQ(st::clean_text_field("a\tb\x1f"
                                   "c\xc3\xa9",
                                   4),
              "abc");
    EXPECT_EQ(st::clean_text_field("ab\xc3\xa9z", 4), "ab\xc3\xa9");
}
