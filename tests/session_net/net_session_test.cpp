#include "support/session_thread.hpp"
#include "support/test_support.hpp"
#include "support/udp_impairment_proxy.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/exchange/exchange_names.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>

namespace korvath::test {
namespace {

namespace st = session_tool;
using namespace std::chrono_literals;

const auto kKey = st::derive_session_key(*st::parse_session_code("AAAA-BBBB-CCCC-DDDD-EEEE-FFFF"));
const auto kWrongKey = st::derive_session_key(*st::parse_session_code("AAAA-BBBB-CCCC-DDDD-EEEE-FFFG"));

auto write_local_state(const fs::path& dir, float x, uint64_t sequence) -> void {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now().time_since_epoch())
                        .count();
    write_file(st::exchange_dir_of(dir) / st::kLocalStateFile, std::to_string(x) + "\t0\t100\t0\tMap_A\t" +
                                                                   std::to_string(ms) + "\t" +
                                                                   std::to_string(sequence) + "\n");
}

auto remote_row(const fs::path& dir) -> std::string {
    std::error_code error;
    const auto file = st::exchange_dir_of(dir) / st::kRemotePlayersFile;
    return fs::exists(file, error) ? read_file(file) : std::string();
}

// The x of the remote row, when there is one.
auto remote_x(const fs::path& dir) -> std::optional<double> {
    std::istringstream row(remote_row(dir));
    std::string id, name;
    double x = 0;
    if (std::getline(row, id, '\t') && std::getline(row, name, '\t') && row >> x)
        return x;
    return std::nullopt;
}

// Runs `step` and then asks `done`, every 10 ms, until it holds or `limit` has passed.
auto poll_until(
    std::chrono::milliseconds limit, const std::function<bool()>& done,
    const std::function<void()>& step = [] {}) -> bool {
    return wait_until(
        limit, [&] { return step(), done(); }, 10ms);
}

// An attacker on the path sends forged, malformed and replayed packets as the joiner, and floods the
// host from elsewhere, while the joiner walks along x: the host's row only ever moves forward, and
// poses keep coming.
TEST(NetSession, ForgedMalformedReplayedAndFloodedPacketsNeverReachTheRow) {
    const auto hostDir = scratch_dir("net-host"), joinDir = scratch_dir("net-join");
    float x = 0.0F;
    uint64_t sequence = 0;
    double lastX = -1.0;
    bool backwards = false;
    const auto walk = [&] {
        write_local_state(joinDir, x += 1.0F, ++sequence);
        write_local_state(hostDir, 0.0F, sequence);
        if (const auto seen = remote_x(hostDir)) {
            backwards = backwards || *seen < lastX;
            lastX = *seen;
        }
    };
    walk();
    auto hostOptions = net_options(st::PeerSide::Host, hostDir, kKey);
    hostOptions.predict = false;
    SessionThread host(std::move(hostOptions));
    const st::UdpEndpoint hostAt(asio::ip::make_address("127.0.0.1"), host.port());
    UdpImpairmentProxy proxy(hostAt, {}, {}, 1);
    SessionThread joiner(net_options(st::PeerSide::Joiner, joinDir, kKey, proxy.endpoint()));
    ASSERT_TRUE(poll_until(
        5s, [&] { return remote_x(hostDir).has_value(); }, walk));
    ASSERT_TRUE(poll_until(
        2s, [&] { return proxy.captured().size() >= 20; }, walk));

    for (auto& old : proxy.captured())
        proxy.inject(std::move(old));
    // Filled field by field: MinGW's GCC 12 takes the nested designated initializers for uninitialised.
    st::PosePayload payload;
    payload.takenUs = 1'000'000;
    payload.pose.x = -666.0F;
    payload.pose.mapName = "Map_A";
    payload.playerId = "x";
    payload.displayName = "X";
    st::Packet forged{.kind = st::PacketKind::Pose,
                      .side = st::PeerSide::Joiner,
                      .senderNonce = 1,
                      .sequence = 1'000'000,
                      .sentUs = 1'000'000,
                      .pose = payload};
    for (int index = 0; index < 50; ++index)
        proxy.inject(st::seal_packet(kWrongKey, forged));
    forged.pose->pose.x = std::numeric_limits<float>::infinity();
    for (int index = 0; index < 50; ++index)
        proxy.inject(st::seal_packet(kKey, forged));

    const uint64_t posesBefore = host.status().posesTaken;
    asio::io_context io;
    asio::ip::udp::socket flooder(io, st::UdpEndpoint(asio::ip::make_address("127.0.0.1"), 0));
    std::mt19937 random(3);
    std::vector<uint8_t> junk(600);
    for (int index = 0; index < 20'000; ++index) {
        for (auto& byte : junk)
            byte = static_cast<uint8_t>(random());
        asio::error_code ignored;
        flooder.send_to(asio::buffer(junk.data(), 1 + random() % junk.size()), hostAt, 0, ignored);
        if (index % 500 == 0)
            walk();
    }
    // The poses go on after the flood. How long they paused during it depends on the machine's load (the
    // kernel drops datagrams when the flood fills the socket's buffer), so no time is asserted.
    EXPECT_TRUE(poll_until(
        2s, [&] { return host.status().posesTaken > posesBefore + 10; }, walk));
    poll_until(
        300ms, [] { return false; }, walk);

    const st::NetStatus status = host.status();
    EXPECT_FALSE(backwards);
    EXPECT_EQ(status.state, st::PeerState::Connected);
    EXPECT_GT(status.drops[st::DropKind::Address], 0U);
    EXPECT_GE(status.drops[st::DropKind::Mac], 50U);
    EXPECT_GE(status.drops[st::DropKind::Malformed], 50U);
    EXPECT_GE(status.drops[st::DropKind::Late], 20U);
    EXPECT_EQ(status.drops[st::DropKind::Replay], 0U);
}

// The programs as a user runs them, over IPv6: the host prints its code and port, the joiner uses them;
// each writes the other's pose into its own folder, both end after their --duration, and the joiner's
// goodbye shows in the host's log.
TEST(NetSessionProcess, HostAndJoinLinkTwoFoldersOnLoopback) {
    const fs::path program = tool_program("korvath-session");
    const auto root = scratch_dir("net-programs");
    const auto hostDir = root / "host", joinDir = root / "join";
    write_local_state(hostDir, 5.0F, 1);
    write_local_state(joinDir, 7.0F, 1);
    st::ChildProcess host(program, {"host", hostDir.string(), "--port", "0", "--duration", "4"},
                          root / "host.log");
    std::string code, port;
    ASSERT_TRUE(poll_until(10s, [&] {
        const std::string log = read_file(root / "host.log");
        const auto codeAt = log.find("session code: "), portAt = log.find("on port ");
        if (codeAt == std::string::npos || portAt == std::string::npos)
            return false;
        code = log.substr(codeAt + 14, 29);
        port = log.substr(portAt + 8, log.find('\n', portAt) - portAt - 8);
        return true;
    })) << read_file(root / "host.log");
    st::ChildProcess joiner(program,
                            {"join", "[::1]:" + port, joinDir.string(), "--code", code, "--duration", "2"},
                            root / "join.log");
    EXPECT_TRUE(poll_until(10s, [&] { return remote_x(hostDir) == 7.0 && remote_x(joinDir) == 5.0; }))
        << read_file(root / "host.log") << read_file(root / "join.log");
    EXPECT_TRUE(remote_row(hostDir).starts_with("player-join\tKESTREN JOINER\t"));
    EXPECT_TRUE(remote_row(joinDir).starts_with("player-host\tKESTREN HOST\t"));
    EXPECT_EQ(joiner.wait(), 0);
    EXPECT_EQ(host.wait(), 0);
    EXPECT_NE(read_file(root / "host.log").find("peer quit"), std::string::npos)
        << read_file(root / "host.log");
}

} // namespace
} // namespace korvath::test
