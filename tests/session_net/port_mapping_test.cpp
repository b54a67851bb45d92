// The host's port mapping against scripted routers, on a stepped clock: which protocol wins, when the
// lease is renewed, what a silent or refusing router leaves, and that the mapping is removed.

#include "support/test_support.hpp"
#include "tools/session/net/portmap/external_address.hpp"
#include "tools/session/net/portmap/mapping_keeper.hpp"
#include "tools/session/net/portmap/mapping_news.hpp"
#include "tools/session/net/portmap/mapping_thread.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>

namespace korvath::test {
namespace {

namespace st = session_tool;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using Kind = st::MapAnswer::Kind;

struct Calls {
    std::atomic<int> maps{0};
    std::atomic<int> unmaps{0};
};

// Answers from a script; once it runs out, the last answer again.
class ScriptedMapper final : public st::PortMapper {
public:
    ScriptedMapper(std::string name, std::deque<st::MapAnswer> answers, Calls& calls)
        : m_name(std::move(name))
        , m_answers(std::move(answers))
        , m_calls(calls) {}
    auto protocol() const -> std::string override { return m_name; }
    auto map(uint16_t, std::chrono::seconds) -> st::MapAnswer override {
        ++m_calls.maps;
        st::MapAnswer answer = m_answers.front();
        if (m_answers.size() > 1)
            m_answers.pop_front();
        return answer;
    }
    auto unmap(uint16_t) -> void override { ++m_calls.unmaps; }

private:
    std::string m_name;
    std::deque<st::MapAnswer> m_answers;
    Calls& m_calls;
};

const st::MapAnswer kGranted{Kind::Granted, {"203.0.113.7", 47810, 100s}, {}};
const st::MapAnswer kSilent{Kind::Silent, {}, "no answer"};
const st::MapAnswer kRefused{Kind::Refused, {}, "conflict"};

auto keeper(std::deque<st::MapAnswer> natpmp, std::deque<st::MapAnswer> upnp, Calls& first, Calls& second)
    -> st::MappingKeeper {
    std::vector<std::unique_ptr<st::PortMapper>> mappers;
    mappers.push_back(std::make_unique<ScriptedMapper>("NAT-PMP", std::move(natpmp), first));
    mappers.push_back(std::make_unique<ScriptedMapper>("UPnP", std::move(upnp), second));
    return st::MappingKeeper(std::move(mappers), 47810, 100s);
}

auto step(st::MappingKeeper& keeper, nanoseconds now) -> nanoseconds {
    return keeper.step(now, [now] { return now + 1500ms; });
}

} // namespace

TEST(PortMapping, FirstGrantingProtocolIsKeptAndRenewedHalfWayThroughTheLease) {
    Calls natpmp, upnp;
    auto mapping = keeper({kSilent}, {kGranted}, natpmp, upnp);
    EXPECT_EQ(step(mapping, 0s), 50s);
    EXPECT_EQ(mapping.view().state, st::MappingState::Mapped);
    EXPECT_EQ(mapping.view().protocol, "UPnP");
    EXPECT_EQ(step(mapping, 49s), 50s); // nothing due yet
    EXPECT_EQ(upnp.maps, 1);
    EXPECT_EQ(step(mapping, 50s), 100s);
    EXPECT_EQ(mapping.view().renewals, 1U);
    EXPECT_EQ(natpmp.maps, 1); // renewals go to the protocol that granted
    EXPECT_EQ(upnp.maps, 2);
    EXPECT_EQ(*mapping.view().leaseEnds, 150s);

    const auto news = st::mapping_news(mapping.view(), {47810, "CODE", {}});
    ASSERT_EQ(news.size(), 1U);
    EXPECT_EQ(news[0], "port mapping renewed (UPnP, lease 100 s)");
    mapping.finish();
    EXPECT_EQ(upnp.unmaps, 1);
    EXPECT_EQ(natpmp.unmaps, 0);
    EXPECT_EQ(mapping.view().state, st::MappingState::Removed);
}

TEST(PortMapping, SilentOrRefusingRoutersLeaveNoMappingAndAreAskedAgainAMinuteLater) {
    struct Case {
        st::MapAnswer natpmp, upnp;
        st::MappingState state;
        std::string detail;
    };
    const Case cases[] = {
        {kSilent, kSilent, st::MappingState::NoRouter, "NAT-PMP: no answer; UPnP: no answer"},
        {kSilent, kRefused, st::MappingState::Refused, "UPnP: conflict"},
        {kRefused, kRefused, st::MappingState::Refused, "NAT-PMP: conflict; UPnP: conflict"},
    };
    for (const Case& c : cases) {
        Calls natpmp, upnp;
        auto mapping = keeper({c.natpmp, kGranted}, {c.upnp}, natpmp, upnp);
        EXPECT_EQ(step(mapping, 0s), 60s);
        EXPECT_EQ(mapping.view().state, c.state);
        EXPECT_EQ(mapping.view().detail, c.detail);
        EXPECT_EQ(mapping.view().askedFor, 1500ms);
        const auto news = st::mapping_news(mapping.view(), {47810, "CODE", {}});
        EXPECT_NE(news.back().find("join ADDRESS:47810 DIR --code CODE"), std::string::npos);
        step(mapping, 60s);
        EXPECT_EQ(mapping.view().state, st::MappingState::Mapped);
        mapping.finish();
        EXPECT_EQ(natpmp.unmaps + upnp.unmaps, 1);
    }
}

TEST(PortMapping, FailedRenewalsAreRetriedUntilTheLeaseEndsThenTheMappingIsLost) {
    Calls natpmp, upnp;
    auto mapping = keeper({kGranted, kSilent, kSilent, kSilent}, {kSilent}, natpmp, upnp);
    step(mapping, 0s);
    nanoseconds due = step(mapping, 50s); // the renewal fails: a quarter of the 50 s left
    EXPECT_EQ(due, 62500ms);
    EXPECT_EQ(mapping.view().state, st::MappingState::Mapped);
    for (int turn = 0; turn < 20 && mapping.view().state == st::MappingState::Mapped; ++turn)
        due = step(mapping, due);
    EXPECT_EQ(mapping.view().state, st::MappingState::Lost);
    EXPECT_GE(due, 160s);
    mapping.finish();
    EXPECT_EQ(natpmp.unmaps, 0); // nothing left to remove
}

TEST(PortMapping, NewsGiveTheJoinCommandWithTheExternalAddressAndTheIpv6Form) {
    st::MappingView view;
    view.state = st::MappingState::Mapped;
    view.protocol = "NAT-PMP";
    view.grant = {"203.0.113.7", 40000, 1200s};
    view.leaseEnds = 1200s;
    const auto news = st::mapping_news(view, {47810, "AAAA-BBBB", {"2001:db8::7"}});
    ASSERT_EQ(news.size(), 3U);
    EXPECT_EQ(news[1], "  korvath-session join 203.0.113.7:40000 DIR --code AAAA-BBBB");
    EXPECT_EQ(news[2], "  korvath-session join [2001:db8::7]:47810 DIR --code AAAA-BBBB   (over IPv6)");
    EXPECT_EQ(st::mapping_status(view, 600s), "NAT-PMP 203.0.113.7:40000, lease 10 min left");
    view.grant.externalAddress = "10.1.2.3"; // a router behind another router
    EXPECT_NE(st::mapping_news(view, {47810, "C", {}}).back().find("private"), std::string::npos);
}

TEST(PortMapping, RouterGivenAddressesAreCheckedBeforeUse) {
    const std::pair<const char*, std::optional<st::AddressScope>> cases[] = {
        {"203.0.113.7", st::AddressScope::Public},
        {"192.168.1.1", st::AddressScope::Private},
        {"100.64.0.1", st::AddressScope::Private},
        {"0.0.0.0", std::nullopt},
        {"224.0.0.1", std::nullopt},
        {"255.255.255.255", std::nullopt},
        {"1.2.3.4; rm -rf", std::nullopt},
        {"", std::nullopt},
        {"2001:db8::1", std::nullopt},
        {"1.2.3", std::nullopt},
    };
    for (const auto& [text, scope] : cases) {
        const auto checked = st::check_external_address(text);
        EXPECT_EQ(checked ? std::optional(checked->scope) : std::nullopt, scope) << text;
    }
}

// The router is asked on the mapping's own thread while the session's thread reads the view; stop()
// removes the mapping before the thread ends.
TEST(PortMapping, ThreadMapsAtOnceAndRemovesTheMappingOnStop) {
    Calls natpmp, upnp;
    st::MappingThread thread(keeper({kGranted}, {kSilent}, natpmp, upnp));
    EXPECT_TRUE(wait_until(
        5000ms, [&] { return thread.view().state == st::MappingState::Mapped; }, 1ms));
    thread.stop();
    EXPECT_EQ(thread.view().state, st::MappingState::Removed);
    EXPECT_EQ(natpmp.unmaps, 1);
    EXPECT_EQ(natpmp.maps, 1);
}

} // namespace korvath::test
