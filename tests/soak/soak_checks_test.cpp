// The soak run's checks, fed by hand with a world, heartbeats and status reports over time.

#include "tools/soak/process_memory.hpp"
#include "tools/soak/soak_checks.hpp"
#include "tools/soak/world_snapshots.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korvath::test {
namespace {

using soak::ClientChecks;

// Feeds a world sampled every 0.1 s from 0 to 10 s, with a proxy from `proxyFrom` to `proxyUntil`, and a
// status report every second saying proxyActive from `statusFrom` to `statusUntil`.
auto run_world(double proxyFrom, double proxyUntil, double statusFrom, double statusUntil) -> ClientChecks {
    ClientChecks checks("A");
    for (int tick = 0; tick <= 100; ++tick) {
        const double at = tick / 10.0;
        checks.world(at, at >= proxyFrom && at < proxyUntil ? 1 : 0);
        if (tick % 10 == 5) {
            checks.heartbeat(at);
            checks.status(at, at >= statusFrom && at < statusUntil);
        }
        checks.settle(at);
    }
    return checks;
}

TEST(SoakChecks, StatusMustMatchTheWorldWithinOneSecond) {
    struct Case {
        const char* what;
        double proxyFrom, proxyUntil, statusFrom, statusUntil;
        uint64_t problems;
    };
    const Case cases[] = {
        {"the status a second late", 2.0, 6.0, 3.0, 7.0, 0},
        {"the status two seconds late", 2.0, 6.0, 4.0, 8.0, 2},      // at 3.5 and at 7.5
        {"a proxy the status never shows", 2.0, 6.0, 99.0, 99.0, 2}, // at 3.5 and 4.5
        {"a status whose proxy never was", 99.0, 99.0, 3.0, 6.0, 3},
    };
    for (const Case& c : cases) {
        const ClientChecks checks = run_world(c.proxyFrom, c.proxyUntil, c.statusFrom, c.statusUntil);
        EXPECT_EQ(checks.figures().problems, c.problems) << c.what;
        EXPECT_GE(checks.figures().statusChecked, 8u) << c.what;
    }
}

// A map change replaced the proxy between two snapshots, 100 ms apart; a status written in between said
// proxyActive=0. That is no fault; the same status with the same proxy in both snapshots is.
TEST(SoakChecks, ProxyReplacedBetweenSnapshotsWasAbsentForAMoment) {
    for (const bool replaced : {true, false}) {
        ClientChecks checks("B");
        for (int tick = 0; tick <= 40; ++tick) {
            const double at = tick / 10.0;
            checks.world(at, 1, replaced && tick > 20 ? "proxy-2" : "proxy-1");
            if (tick == 20)
                checks.status(at + 0.05, false);
            checks.settle(at);
        }
        EXPECT_EQ(checks.figures().problems, replaced ? 0u : 1u) << replaced;
    }
}

// Heartbeats at 0, 1, 4 (3 s late), 5, 7.5 (late, but the game stood still from 6 to 7) and 8.5; two
// proxies at 1 s.
TEST(SoakChecks, LateHeartbeatsAreProblemsUnlessTheGameStoodStill) {
    ClientChecks checks("B");
    for (int tick = 0; tick <= 120; ++tick) {
        const double at = tick / 10.0;
        if (at <= 6.0 || at >= 7.0)
            checks.world(at, tick == 10 ? 2 : 1);
        for (const double beat : {0.0, 1.0, 4.0, 5.0, 7.5, 8.5})
            if (tick == static_cast<int>(beat * 10))
                checks.heartbeat(at);
        checks.settle(at);
    }
    EXPECT_EQ(checks.figures().problems, 2u);
    EXPECT_EQ(checks.figures().mostProxies, 2);
    EXPECT_EQ(checks.figures().stalls, 1u);
    EXPECT_EQ(checks.figures().excusedHeartbeatGaps, 1u);
    EXPECT_NEAR(checks.figures().longestHeartbeatGap, 3.0, 1e-9);
}

// Two snapshots may share the log's millisecond after a stall; the steady-clock field tells them apart.
TEST(SoakChecks, WorldLogSnapshotsCountProxiesNotThePawn) {
    const auto line = [](const char* at, const char* name, int alive, const char* clock) {
        return std::string(at) + "\tBP_PlayerCharacter_C /Map_A.BP_PlayerCharacter_C_" + name +
               "\tBP_PlayerCharacter_C\t0\t0\t0\t0\t0\t0\t0\t" + std::to_string(alive) + "\t" + clock + "\n";
    };
    const std::string log =
        "0.100\tC /Map_A.BP_PlayerController_C_0\tBP_PlayerController_C\t0\t0\t0\t0\t0\t1\t1\t1\t50.1\n" +
        line("0.100", "0", 1, "50.1") + line("0.200", "0", 1, "50.2") +
        line("0.200", "2147480003", 1, "50.2") + line("0.200", "2147480001", 0, "50.2") +
        line("0.200", "2147480003", 1, "50.2001") + line("0.300", "0", 1, "50.3") +
        "0.300\tBP_PlayerCharacter_C /Map_A.BP_Player";
    soak::WorldSnapshots reader;
    std::vector<soak::WorldSnapshot> seen;
    const auto sink = [&](const soak::WorldSnapshot& s) { seen.push_back(s); };
    reader.feed(log.substr(0, 150), sink); // lines arrive in pieces
    reader.feed(log.substr(150), sink);
    ASSERT_EQ(seen.size(), 3u); // the last snapshot is not known to be whole yet
    EXPECT_DOUBLE_EQ(seen[0].at, 50.1);
    EXPECT_EQ(std::make_tuple(seen[0].proxies, seen[1].proxies, seen[2].proxies), std::make_tuple(0, 1, 1));
}

TEST(SoakChecks, ResidentMemoryFromProcStatus) {
    EXPECT_EQ(soak::parse_resident_bytes("Name:\tx\nVmRSS:\t   5120 kB\nVmData: 1 kB\n"), 5120u * 1024);
    EXPECT_EQ(soak::parse_resident_bytes("Name:\tx\nVmRSS:\t kB\n"), std::nullopt);
}

} // namespace
} // namespace korvath::test
