// Every failure mode of every engine operation, alone and paired with a failing destroy, given to
// simulated games mid-session through their control files; and CLIENT_B's relocation failing at
// start-up. Each game must live on, report what failed, never hold two proxies, and get its proxy back.

#include "soak/sim_game.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <thread>

namespace korvath::test {
namespace {

namespace tool = session_tool;
using namespace std::chrono_literals;
using Errors = std::set<std::string>;

// The engine operations of a session, and the error report each gives when it fails: quietly (missing or
// false), and by raising (the action whose report names the exception). The lookups and the world query
// come before the guarded spawn, so their exceptions go to the host and leave no report; a failure of
// the controls or the name is reported by the action in which it happens.
struct OperationFault {
    std::string_view op;
    const char* quietReport; // none: a quiet failure leaves no report
    const char* raisedIn;    // none: the exception goes to the host
};
constexpr const char* kNotFound = "The player controller or BP_PlayerCharacter_C class was not found.\n";
constexpr OperationFault kSessionOps[] = {
    {"controller", kNotFound, nullptr},
    {"class", kNotFound, nullptr},
    {"world", "The active player controller returned a null world.\n", nullptr},
    {"spawn", "UWorld::SpawnActor returned null.\n", "Spawn"},
    {"move", nullptr, "Movement"},
    {"destroy", "Destroy call returned but the proxy is still in the world.\n", "Destroy"},
    {"hidden", nullptr, "Spawn"},
    {"collision", nullptr, "Spawn"},
    {"tick", nullptr, "Spawn"},
    {"fullname", nullptr, "Destroy"}};
const std::vector<std::string> kModes{"missing", "false", "throw", "throw-unknown"};

// Collects the distinct error reports of each game until every game meets `done` (given its index and
// how many distinct errors it had when the phase began) or `limit` has passed. Phases end on what the
// games do, not after fixed times, so a machine that starves the games only makes them longer.
auto watch_until(std::vector<std::unique_ptr<SimGame>>& games, std::vector<Errors>& errors,
                 std::chrono::milliseconds limit, const std::function<bool(std::size_t, std::size_t)>& done)
    -> void {
    std::vector<std::size_t> before;
    for (const auto& seen : errors)
        before.push_back(seen.size());
    wait_until(limit, [&] {
        bool all = true;
        for (std::size_t i = 0; i < games.size(); ++i) {
            if (const std::string error = games[i]->report("cpp_phase5g_error.txt"); !error.empty())
                errors[i].insert(error);
            all = all && done(i, before[i]);
        }
        return all;
    });
}

auto tried_to_destroy(const Errors& errors) -> bool {
    return std::ranges::any_of(errors, [](const std::string& e) { return e.starts_with("Destroy"); });
}

// Every game holds a proxy; then each game's faults (lines of control commands) are held through the
// proxy's following, its stale destruction and a new spawn, and cleared. Returns each game's errors.
auto run_fault_cycle(std::vector<std::unique_ptr<SimGame>>& games, const std::vector<std::string>& faults)
    -> std::vector<Errors> {
    std::vector<Errors> errors(games.size());
    const bool started = wait_until(25s, [&] {
        return std::all_of(games.begin(), games.end(), [](auto& game) { return game->has_proxy(); });
    });
    EXPECT_TRUE(started) << "the sessions did not start";
    if (!started)
        return errors;
    for (std::size_t i = 0; i < games.size(); ++i)
        EXPECT_TRUE(games[i]->command(faults[i])) << faults[i];
    watch_until(games, errors, 600ms, [](std::size_t, std::size_t) { return false; }); // following
    for (auto& game : games)
        game->set_remote_fresh(false); // destroyed 3 s after the last good poll
    std::this_thread::sleep_for(3s);
    watch_until(games, errors, 8s, [&](std::size_t i, std::size_t) {
        return games[i]->proxies() == 0 || tried_to_destroy(errors[i]);
    });
    for (std::size_t i = 0; i < games.size(); ++i)
        EXPECT_TRUE(wait_until(2s, [&] { return games[i]->consistent(); }))
            << faults[i] << ": the world and the status disagree after the stale destruction";
    for (auto& game : games)
        game->set_remote_fresh(true); // spawned again, or a new error
    watch_until(games, errors, 3s, [&](std::size_t i, std::size_t before) {
        return games[i]->proxies() == 1 || errors[i].size() > before;
    });
    for (auto& game : games)
        EXPECT_TRUE(game->command("clear\n"));
    for (std::size_t i = 0; i < games.size(); ++i) {
        EXPECT_TRUE(wait_until(8s, [&] { return games[i]->has_proxy(); }))
            << faults[i] << ": no proxy after the fault was cleared";
        EXPECT_LE(games[i]->most_proxies(), 1) << faults[i];
        EXPECT_EQ(games[i]->stop(), 0) << faults[i];
        EXPECT_NE(games[i]->report("cpp_mod_unloaded.txt"), "") << faults[i];
    }
    return errors;
}

// The error reports one failing operation causes in the cycle.
auto expected_errors(const OperationFault& fault, const std::string& mode) -> Errors {
    if (!mode.starts_with("throw"))
        return fault.quietReport ? Errors{fault.quietReport} : Errors{};
    if (!fault.raisedIn)
        return {};
    const std::string action = fault.raisedIn;
    return {mode == "throw"
                ? action + " call threw an exception: simulated " + std::string(fault.op) + " failure\n"
                : action + " call threw an unknown exception.\n"};
}

// One game per operation, each failing in the same mode, alone or together with the destroy.
class EngineFault : public ::testing::TestWithParam<std::tuple<std::string, bool>> {};

TEST_P(EngineFault, HeldWhileFollowingDestroyingAndSpawning) {
    const auto& [mode, paired] = GetParam();
    const fs::path dir = scratch_dir("engine-fault-" + mode + (paired ? "-paired" : ""));
    std::vector<std::unique_ptr<SimGame>> games;
    std::vector<OperationFault> ops;
    std::vector<std::string> faults;
    for (const OperationFault& fault : kSessionOps) {
        if (paired && fault.op == "destroy")
            continue;
        ops.push_back(fault);
        games.push_back(std::make_unique<SimGame>(dir / fault.op, tool::ClientRole::ClientA));
        faults.push_back("fail " + std::string(fault.op) + "=" + mode + "\n" +
                         (paired ? "fail destroy=" + mode + "\n" : ""));
    }
    const auto errors = run_fault_cycle(games, faults);
    for (std::size_t i = 0; i < games.size(); ++i)
        if (paired)
            EXPECT_TRUE(tried_to_destroy(errors[i])) << faults[i];
        else
            EXPECT_EQ(errors[i], expected_errors(ops[i], mode)) << faults[i];
}

INSTANTIATE_TEST_SUITE_P(EachMode, EngineFault,
                         ::testing::Combine(::testing::ValuesIn(kModes), ::testing::Bool()),
                         [](const ::testing::TestParamInfo<EngineFault::ParamType>& fault) {
                             std::string name =
                                 std::get<0>(fault.param) +
                                 (std::get<1>(fault.param) ? "_paired_with_destroy" : "_alone");
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

// CLIENT_B's relocation fails at start-up; once the engine works, the session goes on. A failed move is
// final (the pawn stays where it is); a pawn that could not be found is looked for again.
TEST(EngineFaults, RelocationFailsAtStartUpAndTheSessionGoesOn) {
    const fs::path dir = scratch_dir("relocation-faults");
    std::vector<std::unique_ptr<SimGame>> games;
    std::vector<std::string> faults;
    for (const char* op : {"relocate", "pawn"})
        for (const std::string& mode : kModes) {
            faults.push_back(std::string(op) + "=" + mode);
            games.push_back(std::make_unique<SimGame>(dir / faults.back(), tool::ClientRole::ClientB,
                                                      std::vector<std::string>{"--fail", faults.back()}));
        }
    // The relocation is due 2 s after the engine is ready: a failed move leaves its report; a missing
    // pawn leaves nothing to see, so those games get 3 s more once their engine is ready.
    EXPECT_TRUE(wait_until(20s, [&] {
        for (std::size_t i = 0; i < games.size(); ++i)
            if (faults[i].starts_with("relocate")
                    ? games[i]->report("cpp_phase5g_error.txt").empty()
                    : games[i]->report("cpp_heartbeat.txt").find("unrealReady=1") == std::string::npos)
                return false;
        return true;
    }));
    std::this_thread::sleep_for(3s);
    for (auto& game : games)
        EXPECT_TRUE(game->command("clear\n"));
    const std::map<std::string, std::string> errors{
        {"relocate=missing", "Client B local pawn relocation returned false.\n"},
        {"relocate=false", "Client B local pawn relocation returned false.\n"},
        {"relocate=throw", "Client B local pawn relocation threw an exception: simulated relocate failure\n"},
        {"relocate=throw-unknown", "Client B local pawn relocation threw an unknown exception.\n"}};
    for (std::size_t i = 0; i < games.size(); ++i) {
        SimGame& game = *games[i];
        EXPECT_TRUE(wait_until(15s, [&] { return game.has_proxy(); })) << faults[i] << ": no session";
        const auto error = errors.find(faults[i]);
        EXPECT_EQ(game.report("cpp_phase5g_error.txt"), error == errors.end() ? "" : error->second)
            << faults[i];
        // A pawn found later is moved aside after all.
        EXPECT_EQ(game.report("cpp_phase5g_client_spawn.txt").empty(), error != errors.end()) << faults[i];
        EXPECT_LE(game.most_proxies(), 1) << faults[i];
        EXPECT_EQ(game.stop(), 0) << faults[i];
    }
}

// A map change tears the proxy down with its world, while the remote player is fresh (the proxy comes
// back in the new world at once) and while it is stale (the status must not go on claiming a proxy).
// Then the game is unloaded with its proxy standing: a clean exit, the unload report, nothing left over.
TEST(EngineFaults, MapChangeDestroysTheProxyAndUnloadingLeavesItStanding) {
    const fs::path dir = scratch_dir("map-change");
    SimGame game(dir / "game", tool::ClientRole::ClientA);
    ASSERT_TRUE(wait_until(20s, [&] { return game.has_proxy(); }));
    for (const bool fresh : {true, false, true}) {
        game.set_remote_fresh(fresh);
        ASSERT_TRUE(game.command(fresh ? "map Map_B\n" : "map Map_C\n"));
        EXPECT_TRUE(wait_until(3s, [&] { return game.proxies() == (fresh ? 1 : 0); })) << fresh;
        // The status report of the next second agrees (the stale destruction would come 3 s late).
        EXPECT_TRUE(wait_until(1500ms, [&] { return game.consistent(); }))
            << (fresh ? "fresh" : "stale") << " remote player";
        if (!fresh) {
            game.set_remote_fresh(true);
            EXPECT_TRUE(wait_until(2s, [&] { return game.has_proxy(); }));
        }
    }
    EXPECT_LE(game.most_proxies(), 1);
    EXPECT_EQ(game.stop(), 0) << game.log();
    EXPECT_NE(game.report("cpp_mod_unloaded.txt"), "");
    EXPECT_EQ(game.proxies(), 1); // unloading leaves the proxy to the engine
    EXPECT_EQ(game.report("cpp_mod_unloaded.txt.tmp"), "");
}

} // namespace
} // namespace korvath::test
