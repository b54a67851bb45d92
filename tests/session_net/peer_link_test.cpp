// The link between two peers: the handshake, the round trip, what is dropped and why, the end of a
// connection; and the loss figure.

#include "tools/session/net/loss_meter.hpp"
#include "tools/session/net/peer_link.hpp"

#include <gtest/gtest.h>

namespace st = korvath::session_tool;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

const st::SessionKey kKey = st::derive_session_key(*st::parse_session_code("AAAA-BBBB-CCCC-DDDD-EEEE-FFFF"));
const st::UdpEndpoint kHostAt(asio::ip::make_address("127.0.0.1"), 47810);
const st::UdpEndpoint kJoinerAt(asio::ip::make_address("127.0.0.1"), 50000);
const st::UdpEndpoint kStranger(asio::ip::make_address("127.0.0.1"), 50001);

auto counter(uint64_t start) -> st::PeerLink::NonceSource {
    return [next = start]() mutable { return next++; };
}

auto pose(float x) -> st::PosePayload {
    return {.takenUs = 0, .pose = {.x = x, .mapName = "Map_A"}, .playerId = "p", .displayName = "P"};
}

// A host and a joiner that hand each other's datagrams over directly, at a time the test sets.
struct Pair {
    st::PeerLink host{st::PeerSide::Host, kKey, std::nullopt, counter(100)};
    st::PeerLink joiner{st::PeerSide::Joiner, kKey, kHostAt, counter(900)};
    nanoseconds now = 1s;

    auto to_host(const std::optional<st::OutgoingDatagram>& datagram, const st::UdpEndpoint& from = kJoinerAt)
        -> st::Reception {
        EXPECT_TRUE(datagram);
        return host.receive(from, datagram->bytes, now);
    }
    auto to_joiner(const std::optional<st::OutgoingDatagram>& datagram) -> st::Reception {
        EXPECT_TRUE(datagram);
        return joiner.receive(kHostAt, datagram->bytes, now);
    }
    // Hello, answer, first packet: both sides connected.
    auto connect() -> void {
        const auto answer = to_host(joiner.outgoing(std::nullopt, now)).reply;
        ASSERT_TRUE(answer);
        ASSERT_TRUE(to_joiner(answer).connected);
        ASSERT_TRUE(to_host(joiner.outgoing(pose(1), now)).connected);
    }
};

} // namespace

TEST(NetPeerLink, HelloAnswerAndPosesConnectBothSidesAndMeasureTheRoundTrip) {
    Pair pair;
    EXPECT_FALSE(pair.host.outgoing(pose(1), pair.now)); // a host without a peer sends nothing
    // Each datagram takes 10 ms; the host answers at once, the joiner holds the host's last packet 10 ms.
    const auto hello = pair.joiner.outgoing(std::nullopt, pair.now);
    pair.now += 10ms;
    const auto answer = pair.to_host(hello).reply;
    pair.now += 10ms;
    EXPECT_TRUE(pair.to_joiner(answer).connected);
    EXPECT_EQ(pair.joiner.round_trip().smoothed(), 20ms);
    pair.now += 10ms;
    const auto first = pair.joiner.outgoing(pose(1), pair.now);
    pair.now += 10ms;
    EXPECT_TRUE(pair.to_host(first).connected);
    ASSERT_TRUE(pair.host.connected() && pair.joiner.connected());
    EXPECT_EQ(st::format_endpoint(*pair.host.peer_address()), "127.0.0.1:50000");
    EXPECT_EQ(pair.host.round_trip().smoothed(), 20ms); // less the 10 ms the joiner held its packet
    EXPECT_EQ(pair.host.round_trip().shortest(), 20ms);
}

// A host busy with a live peer ignores another joiner; a joiner takes nothing from anyone but its host.
TEST(NetPeerLink, OnlyTheNewestPacketOfThePeerAtItsAddressIsTaken) {
    Pair pair;
    pair.connect();
    const auto first = pair.joiner.outgoing(pose(1), pair.now);
    const auto second = pair.joiner.outgoing(pose(2), pair.now);
    EXPECT_TRUE(pair.to_host(second).pose);
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        st::UdpEndpoint from;
        st::DropKind expected;
    };
    auto reflected = pair.host.outgoing(pose(3), pair.now);
    st::PeerLink intruder{st::PeerSide::Joiner, kKey, kHostAt, counter(5000)};
    const std::vector<Case> cases{
        {"duplicate", second->bytes, kJoinerAt, st::DropKind::Late},
        {"older", first->bytes, kJoinerAt, st::DropKind::Late},
        {"another address", pair.joiner.outgoing(pose(4), pair.now)->bytes, kStranger, st::DropKind::Address},
        {"another joiner's hello", intruder.outgoing(std::nullopt, pair.now)->bytes, kStranger,
         st::DropKind::Address},
        {"the host's own packet sent back", reflected->bytes, kJoinerAt, st::DropKind::Replay},
        {"garbage", std::vector<uint8_t>(100, 0x5a), kJoinerAt, st::DropKind::Mac},
    };
    for (const auto& c : cases) {
        const auto reception = pair.host.receive(c.from, c.bytes, pair.now);
        EXPECT_EQ(reception.dropped, c.expected) << c.name;
        EXPECT_FALSE(reception.pose) << c.name;
    }
    EXPECT_EQ(pair.host.drops().total(), cases.size());
    EXPECT_TRUE(pair.host.connected());
    st::PeerLink lonely{st::PeerSide::Joiner, kKey, kHostAt, counter(5)};
    EXPECT_EQ(lonely.receive(kStranger, reflected->bytes, pair.now).dropped, st::DropKind::Address);
}

TEST(NetPeerLink, GoodbyeAndSilenceDropThePeerAndNoPacketOfTheOldConnectionCountsAgain) {
    Pair pair;
    pair.connect();
    const auto recorded = pair.joiner.outgoing(pose(5), pair.now);
    const auto bye = pair.to_host(pair.joiner.farewell(pair.now)); // the joiner quits cleanly
    EXPECT_TRUE(bye.quit);
    EXPECT_TRUE(pair.host.peer_quit());
    EXPECT_FALSE(pair.host.connected());
    // Stragglers of the quit peer are late, not an attack.
    EXPECT_EQ(pair.to_host(recorded).dropped, st::DropKind::Late);

    // The joiner comes back: a new connection, with new nonces on both sides.
    pair.now += 100ms;
    pair.connect();
    EXPECT_FALSE(pair.host.peer_quit());
    EXPECT_EQ(pair.to_host(recorded).dropped, st::DropKind::Replay); // the packet of the earlier connection
    const auto current = pair.joiner.outgoing(pose(6), pair.now);

    // Silence: the joiner drops the host after the limit, the host likewise.
    pair.now += st::kPeerSilenceLimit + 1ms;
    EXPECT_TRUE(pair.joiner.expire(pair.now));
    EXPECT_FALSE(pair.joiner.connected());
    const auto late = pair.to_host(current);
    EXPECT_TRUE(late.lost); // the host noticed the silence before this datagram
    EXPECT_FALSE(late.pose);
    EXPECT_FALSE(pair.host.connected());
    // Another joiner is answered now.
    st::PeerLink next{st::PeerSide::Joiner, kKey, kHostAt, counter(5000)};
    EXPECT_TRUE(pair.host.receive(kStranger, next.outgoing(std::nullopt, pair.now)->bytes, pair.now).reply);
    // The joiner says hello again within the hello interval only once.
    EXPECT_TRUE(pair.joiner.outgoing(std::nullopt, pair.now));
    EXPECT_FALSE(pair.joiner.outgoing(std::nullopt, pair.now + st::kHelloInterval / 2));
    EXPECT_TRUE(pair.joiner.outgoing(std::nullopt, pair.now + st::kHelloInterval));
}

TEST(NetLossMeter, CountsTheGapsInEachWindow) {
    st::LossMeter meter;
    uint64_t sequence = 10;
    // One in ten lost, 30 a second, for 4 s: the first complete window (3 s) tells.
    for (int index = 0; index < 120; ++index, ++sequence)
        if (index % 10 != 5)
            meter.add(sequence, nanoseconds(index * 1'000'000'000LL / 30));
    ASSERT_TRUE(meter.loss());
    EXPECT_NEAR(*meter.loss(), 0.1, 0.02);
    // A packet that comes after newer ones is late, not lost; a copy (a replay) counts once.
    st::LossMeter reordered;
    int64_t arrival = 0;
    for (const uint64_t late : {1, 3, 2, 4, 6, 5, 5, 3, 7, 9, 8, 10})
        reordered.add(late, nanoseconds(arrival++ * 400'000'000));
    ASSERT_TRUE(reordered.loss());
    EXPECT_EQ(*reordered.loss(), 0.0);
}
