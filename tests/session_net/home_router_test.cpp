// Two games behind a real router daemon: the host's korvath-session sits in a "home" network namespace
// behind a "router" namespace that masquerades it and runs Debian's miniupnpd; the joiner's sits in an
// "internet" namespace. Without a mapping the joiner cannot reach the host; with one (NAT-PMP, then
// UPnP) it joins with the command the host printed, both proxies spawn and follow, the router lists
// the mapping while the host runs, takes its renewals and drops it when the host ends, or when the
// lease of a killed host runs out.
// Needs root, ip, nft and miniupnpd; skips with the reason otherwise.

#include "support/test_support.hpp"
#include "support/walking_games.hpp"
#include "tools/session/demo/child_process.hpp"

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <optional>

namespace korvath::test {
namespace {

namespace st = session_tool;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const fs::path kScript = fs::path(__FILE__).parent_path() / "home_router_namespaces.sh";
constexpr char kDaemon[] = "/usr/sbin/miniupnpd";
constexpr char kOutside[] = "192.0.3.1:47810"; // the router's outside address, the host's port

auto program_path(std::initializer_list<const char*> candidates) -> std::optional<fs::path> {
    for (const char* candidate : candidates)
        if (access(candidate, X_OK) == 0)
            return fs::path(candidate);
    return std::nullopt;
}

auto shell(const std::string& command) -> bool {
    return std::system(command.c_str()) == 0;
}

auto has(const fs::path& log, std::string_view text) -> bool {
    std::error_code error;
    return fs::exists(log, error) && read_file(log).find(text) != std::string::npos;
}

// The namespaces, removed with every process in them however the test ends.
class Namespaces {
public:
    Namespaces(const fs::path& dir)
        : m_prefix("korvath" + std::to_string(getpid()))
        , m_dir(dir) {
        const fs::path log = dir / "namespaces.log";
        m_ready = shell("bash '" + kScript.string() + "' up " + m_prefix + " '" + dir.string() + "' >'" +
                        log.string() + "' 2>&1");
        if (!m_ready)
            m_failure = read_file(log);
    }
    ~Namespaces() { shell("bash '" + kScript.string() + "' down " + m_prefix); }
    Namespaces(const Namespaces&) = delete;
    Namespaces& operator=(const Namespaces&) = delete;

    auto ready() const -> bool { return m_ready; }
    auto failure() const -> const std::string& { return m_failure; }
    auto name(std::string_view role) const -> std::string { return m_prefix + "-" + std::string(role); }
    auto isolated() const -> bool { return shell("bash '" + kScript.string() + "' check " + m_prefix); }
    // The router's port mappings: miniupnpd's rules in its prerouting chain.
    auto mappings() const -> std::string {
        const fs::path out = m_dir / "mappings.txt";
        shell("ip netns exec " + name("router") + " nft list chain inet filter prerouting_miniupnpd >'" +
              out.string() + "' 2>&1");
        return read_file(out);
    }

private:
    std::string m_prefix;
    fs::path m_dir;
    bool m_ready = false;
    std::string m_failure;
};

auto mapped(const Namespaces& namespaces) -> bool {
    return namespaces.mappings().find("dport 47810") != std::string::npos;
}

// `program` in the namespace, without the test program's KORVATH_SESSION_NO_MAP.
auto in_namespace(const fs::path& ip, const std::string& name, const std::string& program,
                  std::vector<std::string> args, const fs::path& log) -> std::unique_ptr<st::ChildProcess> {
    std::vector<std::string> all{"netns", "exec", name, "env", "-u", "KORVATH_SESSION_NO_MAP", program};
    all.insert(all.end(), args.begin(), args.end());
    return std::make_unique<st::ChildProcess>(ip, all, log);
}

// The code of "session code: CODE", or of the join command for the outside the host printed:
// "korvath-session join ADDRESS DIR --code CODE".
auto printed_code(const fs::path& hostLog, const std::string& before) -> std::optional<std::string> {
    const std::string log = read_file(hostLog);
    const auto at = log.find(before);
    if (at == std::string::npos || log.find('\n', at) == std::string::npos)
        return std::nullopt;
    return log.substr(at + before.size(), log.find('\n', at) - at - before.size());
}

auto count(const std::string& text, std::string_view part) -> int {
    int found = 0;
    for (auto at = text.find(part); at != std::string::npos && found < 1000; at = text.find(part, at + 1))
        ++found;
    return found;
}

} // namespace

TEST(HomeRouter, HostMapsItsPortByNatPmpAndUpnpAndTheJoinerFollowsThroughTheRouter) {
    const auto ip = program_path({"/usr/sbin/ip", "/sbin/ip", "/usr/bin/ip", "/bin/ip"});
    if (geteuid() != 0 || !ip || access(kDaemon, X_OK) != 0 || !program_path({"/usr/sbin/nft", "/sbin/nft"}))
        GTEST_SKIP() << "needs root, ip, nft and miniupnpd (tools/install-deps.sh installs them)";
    const auto dir = scratch_dir("home-router");
    Namespaces namespaces(dir);
    if (!namespaces.ready())
        GTEST_SKIP() << "cannot make the network namespaces here: " << namespaces.failure();
    ASSERT_TRUE(namespaces.isolated()); // before anything is sent
    const std::string session = tool_program("korvath-session").string();

    WalkingGames games(dir);
    auto& a = games.a;
    auto& b = games.b;
    const auto now_seconds = [&] { return games.now_seconds(); };
    const auto observe_until = [&](std::chrono::milliseconds limit, const std::function<bool()>& done) {
        return games.observe_until(limit, done, 10ms);
    };
    const auto host_args = [&] {
        return std::vector<std::string>{"host", a.files().gameDir.string(), "--map-lease", "4", "--duration",
                                        "60"};
    };

    // No router answers, not even with an ICMP error (NAT-PMP's port dropped, no UPnP daemon): the host
    // says so within 3 s; the outside cannot join, the LAN can.
    {
        const std::string router = "ip netns exec " + namespaces.name("router") + " nft ";
        ASSERT_TRUE(shell(router + "add table inet silent"));
        ASSERT_TRUE(shell(router + "'add chain inet silent input { type filter hook input priority 0; }'"));
        ASSERT_TRUE(shell(router + "add rule inet silent input udp dport 5351 drop"));
        fs::create_directories(dir / "outsider");
        fs::create_directories(dir / "neighbour");
        const auto hostStart = Clock::now();
        auto host = in_namespace(*ip, namespaces.name("home"), session, host_args(), dir / "host0.log");
        ASSERT_TRUE(observe_until(5s, [&] { return has(dir / "host0.log", "no router answered"); }))
            << read_file(dir / "host0.log");
        const auto told = Clock::now() - hostStart;
        auto outsider = in_namespace(*ip, namespaces.name("net"), session,
                                     {"join", kOutside, (dir / "outsider").string(), "--code",
                                      "AAAA-BBBB-CCCC-DDDD-EEEE-FFFF", "--duration", "2"},
                                     dir / "outsider.log");
        auto neighbour =
            in_namespace(*ip, namespaces.name("home"), session,
                         {"join", "198.51.100.2:47810", (dir / "neighbour").string(), "--code",
                          printed_code(dir / "host0.log", "session code: ").value_or(""), "--duration", "2"},
                         dir / "neighbour.log");
        EXPECT_EQ(outsider->wait(), 0);
        EXPECT_EQ(neighbour->wait(), 0);
        host->terminate(3s);
        std::cout << "no router: told after " << std::chrono::duration<double>(told).count() << " s\n";
        EXPECT_LT(told, 3s);
        EXPECT_FALSE(has(dir / "outsider.log", "connected to")) << read_file(dir / "outsider.log");
        EXPECT_TRUE(has(dir / "neighbour.log", "connected to")) << read_file(dir / "neighbour.log");
        ASSERT_TRUE(shell(router + "delete table inet silent"));
    }

    for (const std::string protocol : {"natpmp", "upnp"}) {
        SCOPED_TRACE(protocol);
        const fs::path daemonLog = dir / (protocol + "-daemon.log"), hostLog = dir / (protocol + "-host.log"),
                       joinLog = dir / (protocol + "-join.log");
        auto daemon = in_namespace(
            *ip, namespaces.name("router"), kDaemon,
            {"-d", "-f", (dir / (protocol + ".conf")).string(), "-P", (dir / (protocol + ".pid")).string()},
            daemonLog);
        ASSERT_TRUE(observe_until(5s, [&] {
            return has(daemonLog, protocol == "natpmp" ? "Listening for NAT-PMP" : "HTTP listening");
        })) << read_file(daemonLog);
        auto host = in_namespace(*ip, namespaces.name("home"), session, host_args(), hostLog);
        std::optional<std::string> code;
        ASSERT_TRUE(observe_until(5s,
                                  [&] {
                                      return (code =
                                                  printed_code(hostLog, std::string("korvath-session join ") +
                                                                            kOutside + " DIR --code "))
                                          .has_value();
                                  }))
            << read_file(hostLog) << read_file(daemonLog);
        auto joiner = in_namespace(
            *ip, namespaces.name("net"), session,
            {"join", kOutside, b.files().gameDir.string(), "--code", *code, "--duration", "60"}, joinLog);
        ASSERT_TRUE(observe_until(5s, [&] { return has(joinLog, "connected to"); })) << read_file(joinLog);
        if (protocol == "natpmp") { // the games' proxies spawn through the router and follow
            ASSERT_TRUE(observe_until(30s, [&] { return a.reports().spawn && b.reports().spawn; }));
            const double spawned = now_seconds();
            observe_until(3s, [&] { return now_seconds() - spawned >= 3.0; });
            const auto stats = st::follow_stats(st::follow_distances(a.pawn_track(), b.proxy_track()),
                                                spawned + 1.0, now_seconds());
            std::cout << "through NAT-PMP: B's proxy of A " << stats.mean << " units on average, "
                      << stats.max << " at most over " << stats.count << " samples\n";
            EXPECT_GT(stats.count, 10U);
            EXPECT_LT(stats.mean, 30.0);
        }
        // 4 s leases, renewed every 2 s: the router takes the renewal and still lists the mapping.
        const std::string request = protocol == "natpmp"
                                        ? "port mapping request : 47810->198.51.100.2:47810 udp"
                                        : "ext port 47810 to 198.51.100.2:47810 protocol UDP";
        const std::string renewed = protocol == "natpmp" ? "port mapping renewed (NAT-PMP, lease 4 s)"
                                                         : "port mapping renewed (UPnP, lease 4 s)";
        ASSERT_TRUE(observe_until(
            8s, [&] { return count(read_file(daemonLog), request) >= 2 && has(hostLog, renewed); }))
            << read_file(daemonLog) << read_file(hostLog);
        EXPECT_TRUE(mapped(namespaces)) << namespaces.mappings();

        EXPECT_EQ(host->terminate(3s), 0);
        EXPECT_TRUE(has(hostLog, "port mapping removed")) << read_file(hostLog);
        EXPECT_TRUE(observe_until(3s, [&] { return !mapped(namespaces); })) << namespaces.mappings();
        joiner->terminate(3s);
        if (protocol == "upnp") { // a host that dies cannot remove its mapping: the lease ends it
            const fs::path crashedLog = dir / "crashed-host.log";
            auto crashed = in_namespace(*ip, namespaces.name("home"), session, host_args(), crashedLog);
            ASSERT_TRUE(observe_until(5s, [&] { return has(crashedLog, "(UPnP, lease 4 s)"); }))
                << read_file(crashedLog);
            ASSERT_TRUE(mapped(namespaces));
            kill(static_cast<pid_t>(crashed->native_handle()), SIGKILL);
            EXPECT_TRUE(observe_until(8s, [&] { return !mapped(namespaces); })) << namespaces.mappings();
            EXPECT_FALSE(has(crashedLog, "port mapping removed"));
        }
        daemon->terminate(3s);
    }
    games.stop();
}

} // namespace korvath::test
