// The exchange directory failing under a running session: read-only, a file in its place, gone for a
// while, out of space. The game lives on, keeps its last whole reports, holds at most one proxy, and
// reports again, with a proxy, once the directory is back.

#include "soak/sim_game.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

namespace korvath::test {
namespace {

namespace tool = session_tool;
using namespace std::chrono_literals;

// A 256 KiB tmpfs mounted on `at` for the length of a test; needs the right to mount.
struct TmpfsMount {
    explicit TmpfsMount(fs::path where)
        : at(std::move(where)) {
        fs::create_directories(at);
        mounted = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=256k") == 0;
    }
    ~TmpfsMount() {
        if (mounted)
            ::umount2(at.c_str(), MNT_DETACH);
    }
    auto set_read_only(bool readOnly) const -> bool {
        return ::mount(nullptr, at.c_str(), nullptr, MS_REMOUNT | (readOnly ? MS_RDONLY : 0), "size=256k") ==
               0;
    }
    fs::path at;
    bool mounted = false;
};

// A heartbeat is written within 3 s from now (one a second, when the machine lets the game run).
auto heartbeat_comes(const SimGame& game) -> bool {
    const fs::path file = game.exchange() / "cpp_heartbeat.txt";
    std::error_code error;
    const auto before = fs::last_write_time(file, error);
    return wait_until(3s, [&] { return fs::last_write_time(file, error) != before; });
}

auto whole_reports(const SimGame& game) -> bool {
    const std::string heartbeat = game.report("cpp_heartbeat.txt");
    const std::string status = game.report("cpp_phase5g_status.txt");
    return heartbeat.starts_with("running=1\n") && heartbeat.ends_with("\n") &&
           status.find("\nsmoothingAlpha=0.35\n") != std::string::npos;
}

auto temporaries(const SimGame& game) -> std::ptrdiff_t {
    std::error_code error;
    return std::ranges::count_if(
        fs::directory_iterator(game.exchange(), error),
        [](const fs::directory_entry& entry) { return entry.path().extension() == ".tmp"; });
}

// Takes the directory away from under the running game: renamed aside in one step (the game may be writing
// into it), then removed. With `asFile`, a file takes its place; the game may recreate the directory
// between the two steps, so this tries again, a bounded number of times.
auto take_away(const fs::path& exchange, bool asFile) -> bool {
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path aside = exchange.parent_path() / ("gone-" + std::to_string(attempt));
        std::error_code error;
        fs::rename(exchange, aside, error);
        fs::remove_all(aside, error);
        if (!asFile)
            return !fs::is_directory(aside);
        const int fd = ::open(exchange.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (fd >= 0) {
            const bool written = ::write(fd, "not a directory", 15) == 15;
            ::close(fd);
            return written;
        }
    }
    return false;
}

auto session_with_proxy(SimGame& game) -> bool {
    return wait_until(20s, [&] { return game.has_proxy(); });
}

// After the fault: a heartbeat within 1.5 s, a proxy again, nothing left over, a clean exit.
auto expect_recovery(SimGame& game) -> void {
    EXPECT_TRUE(heartbeat_comes(game));
    game.set_remote_fresh(true);
    EXPECT_TRUE(session_with_proxy(game));
    EXPECT_LE(game.most_proxies(), 1);
    EXPECT_EQ(game.stop(), 0) << game.log();
    EXPECT_EQ(temporaries(game), 0);
}

TEST(ExchangeFaults, ReadOnlyDirectoryKeepsTheLastReportsUntilWritableAgain) {
    const fs::path game = scratch_dir("exchange-read-only") / "game";
    TmpfsMount mount(game / "KorvathOnline");
    const bool asRoot = ::geteuid() == 0;
    if (!mount.mounted && asRoot)
        GTEST_SKIP() << "running as root without the right to mount: permission bits would not bind";
    SimGame sim(game, tool::ClientRole::ClientA);
    ASSERT_TRUE(session_with_proxy(sim));
    const auto make_read_only = [&](bool readOnly) {
        if (mount.mounted)
            return mount.set_read_only(readOnly);
        std::error_code error;
        fs::permissions(sim.exchange(), readOnly ? fs::perms(0555) : fs::perms(0755), error);
        return !error;
    };
    ASSERT_TRUE(make_read_only(true));
    const std::string heartbeat = sim.report("cpp_heartbeat.txt");
    EXPECT_FALSE(heartbeat_comes(sim)); // three seconds without one
    EXPECT_EQ(sim.report("cpp_heartbeat.txt"), heartbeat);
    EXPECT_TRUE(whole_reports(sim));
    EXPECT_EQ(sim.proxies(), 1); // the inputs still read: the proxy follows on
    ASSERT_TRUE(make_read_only(false));
    expect_recovery(sim);
}

TEST(ExchangeFaults, FileInPlaceOfTheDirectoryAtStartAndMidSession) {
    const fs::path game = scratch_dir("exchange-is-file") / "game";
    fs::create_directories(game);
    const fs::path exchange = game / "KorvathOnline";
    {
        // At start: no report, no session, but the game runs; the directory appears once the file goes.
        write_file(game / "placeholder", "");
        SimGame sim(game, tool::ClientRole::ClientA, {"--no-local-state"});
        ASSERT_TRUE(take_away(exchange, true));
        std::this_thread::sleep_for(1500ms);
        EXPECT_TRUE(fs::is_regular_file(exchange));
        fs::remove(exchange);
        EXPECT_TRUE(wait_until(3s, [&] { return !sim.report("cpp_heartbeat.txt").empty(); }));
        EXPECT_EQ(sim.stop(), 0);
    }
    fs::remove_all(exchange);
    SimGame sim(game, tool::ClientRole::ClientA);
    ASSERT_TRUE(session_with_proxy(sim));
    fs::rename(exchange, game / "KorvathOnline.away");
    write_file(exchange, "not a directory");
    // The remote player goes stale and the proxy is destroyed 3 s after the last good poll.
    EXPECT_TRUE(wait_until(8s, [&] { return sim.proxies() == 0; }));
    set_file_age(game / "KorvathOnline.away" / "remote_players.tsv", 60); // comes back stale
    fs::remove(exchange);
    fs::rename(game / "KorvathOnline.away", exchange);
    EXPECT_TRUE(heartbeat_comes(sim));
    EXPECT_TRUE(wait_until(3s, [&] { return sim.status_says("proxyActive=0"); }));
    expect_recovery(sim);
}

TEST(ExchangeFaults, DirectoryVanishesMidSessionAndComesBack) {
    const fs::path game = scratch_dir("exchange-vanishes") / "game";
    SimGame sim(game, tool::ClientRole::ClientA);
    ASSERT_TRUE(session_with_proxy(sim));
    ASSERT_TRUE(take_away(sim.exchange(), false));
    // The next report brings the directory back, without the inputs: the proxy goes as stale.
    EXPECT_TRUE(heartbeat_comes(sim));
    EXPECT_TRUE(wait_until(8s, [&] { return sim.proxies() == 0; }));
    EXPECT_TRUE(wait_until(3s, [&] { return sim.status_says("proxyActive=0"); }));
    expect_recovery(sim);
}

TEST(ExchangeFaults, FullDiskKeepsWholeReportsAndRecovers) {
    const fs::path game = scratch_dir("exchange-full") / "game";
    TmpfsMount mount(game / "KorvathOnline");
    if (!mount.mounted)
        GTEST_SKIP() << "cannot mount a small tmpfs here: " << std::strerror(errno);
    SimGame sim(game, tool::ClientRole::ClientA);
    ASSERT_TRUE(session_with_proxy(sim));
    const fs::path filler = sim.exchange() / "filler";
    {
        std::ofstream out(filler, std::ios::binary);
        const std::string block(4096, 'x');
        for (int i = 0; i < 1024 && out; ++i)
            out.write(block.data(), block.size()); // far more than the 256 KiB there are
    }
    std::this_thread::sleep_for(300ms); // a write under way when the disk filled up ends
    const std::string heartbeat = sim.report("cpp_heartbeat.txt");
    int reads = 0, whole = 0;
    wait_until(2500ms, [&] {
        ++reads;
        whole += whole_reports(sim) ? 1 : 0;
        return false;
    });
    EXPECT_EQ(whole, reads) << "a report was cut short on the full disk";
    EXPECT_EQ(sim.report("cpp_heartbeat.txt"), heartbeat); // no heartbeat fits, the old one stays
    EXPECT_EQ(temporaries(sim), 0);
    fs::remove(filler);
    expect_recovery(sim);
}

} // namespace
} // namespace korvath::test
