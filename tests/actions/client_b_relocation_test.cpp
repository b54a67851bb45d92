// CLIENT_B's one move of its own pawn 800 units aside, and every way it can not happen.

#include "actions/client_b_relocation.hpp"
#include "support/action_fixture.hpp"

#include <array>
#include <functional>

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

const char* const kRow = "1000\t2000\t100\t0\tMap_A\n";

class ClientBRelocation : public ActionTest {
protected:
    ClientBRelocation() {
        clientRole.store(kClientB);
        clientBRelocationQueued.store(true);
        local_state(kRow);
    }
    static auto local_state(const char* row) -> void { write_file(exchange_dir() / "local_state.tsv", row); }
    // Nothing was moved or written, and no failure was recorded.
    auto expect_untouched() const -> void {
        EXPECT_EQ(standin::engine().calls(Op::Relocate), 0u);
        EXPECT_EQ(pose_of(game.pawn).x, kPawnPose.x);
        EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
        EXPECT_FALSE(clientBSpawnAdjusted || clientBSpawnAdjustFailed || testFailed);
        EXPECT_TRUE(console_lines().empty());
    }
};

// In both vector layouts; the report shows the destination as the engine got it.
TEST_F(ClientBRelocation, MovesThePawnBesideTheReportedPoseOnceAndReportsWhatWasSent) {
    for (const auto& [major, minor] : {std::pair{4, 27}, std::pair{5, 0}}) {
        SCOPED_TRACE(major);
        standin::engine().set_version(major, minor);
        standin::engine().move_actor(game.pawn, kPawnPose);
        clientBSpawnAdjusted.store(false);
        host.console->clear();
        local_state("-1234.5\t678.25\t50.5\t45\tMap_A\n");
        relocate_client_b();
        EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"),
                  "phase=5G.3\nclientRole=CLIENT_B\nlocalPawnMoved=1\noriginalX=-1234.5\noriginalY=678.25\n"
                  "originalZ=50.5\ndestinationX=-1800.19\ndestinationY=1243.94\ndestinationZ=60.5\n"
                  "separationDistance=800\nproxyExistedDuringMove=0\n");
        const auto pose = pose_of(game.pawn);
        EXPECT_NEAR(pose.x, -1800.1854, 1e-3);
        EXPECT_NEAR(pose.y, 1243.9354, 1e-3);
        EXPECT_EQ((std::array{pose.z, pose.pitch, pose.yaw, pose.roll}), (std::array{60.5, 0.0, 45.0, 0.0}));
        EXPECT_TRUE(clientBSpawnAdjusted && clientBRelocationQueued && !clientBSpawnAdjustFailed &&
                    !testFailed);
        EXPECT_EQ(console_lines(),
                  std::vector<std::wstring>{L"[KorvathOnlineCpp] Phase 5G.5 moved CLIENT B to "
                                            L"its distinct local spawn before proxy sync.\n"});
    }

    // A second command after the success does nothing.
    fs::remove(exchange_dir() / "cpp_phase5g_client_spawn.txt");
    const auto calls = standin::engine().journal().size();
    relocate_client_b();
    EXPECT_EQ(standin::engine().journal().size(), calls);
    EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
}

// Client A keeps the command queued; without a pawn or a usable local state CLIENT_B gives it up.
TEST_F(ClientBRelocation, NothingMovesForClientAOrWithoutPawnOrUsableLocalState) {
    const std::pair<std::function<void()>, bool> cases[] = {
        // what goes wrong, queued afterwards
        {[] { clientRole.store(kClientA); }, true},
        {[] { fs::remove(exchange_dir() / "local_state.tsv"); }, false},
        {[] { set_file_age(exchange_dir() / "local_state.tsv", 10); }, false},
        {[] { local_state("1000\t2000\tnot-a-number\t0\tMap_A\n"); }, false},
        {[] { standin::engine().set_fault(Op::Pawn, Fault{FaultMode::Missing}); }, false},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        standin::engine().clear_faults();
        clientRole.store(kClientB);
        local_state(kRow);
        clientBRelocationQueued.store(true);
        cases[i].first();
        relocate_client_b();
        EXPECT_EQ(clientBRelocationQueued.load(), cases[i].second);
        expect_untouched();
    }
}

// The pawn lookup raising left the command counted as queued, so the controller never posted it again and
// CLIENT_B's session waited for ever once the engine had recovered.
TEST_F(ClientBRelocation, PawnLookupExceptionReachesTheHostAndLeavesTheRelocationOpen) {
    for (const FaultMode mode : {FaultMode::Throw, FaultMode::ThrowUnknown}) {
        standin::engine().set_fault(Op::Pawn, Fault{mode, standin::engine().calls(Op::Pawn) + 1});
        clientBRelocationQueued.store(true);
        EXPECT_ANY_THROW(relocate_client_b());
        EXPECT_FALSE(clientBRelocationQueued || clientBSpawnAdjusted || clientBSpawnAdjustFailed);
        expect_untouched();
    }
    standin::engine().clear_faults();
    relocate_client_b();
    EXPECT_TRUE(clientBSpawnAdjusted);
}

TEST_F(ClientBRelocation, FailedMoveIsReportedAndNeverCountsAsDone) {
    for (const auto& [mode, error] :
         {std::pair{FaultMode::False, "Client B local pawn relocation returned false."},
          std::pair{FaultMode::Throw,
                    "Client B local pawn relocation threw an exception: simulated relocate failure"},
          std::pair{FaultMode::ThrowUnknown, "Client B local pawn relocation threw an unknown exception."}}) {
        standin::engine().set_fault(Op::Relocate, Fault{mode, 1});
        relocate_client_b();
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(error) + "\n");
        EXPECT_TRUE(clientBSpawnAdjustFailed && testFailed && clientBRelocationQueued &&
                    !clientBSpawnAdjusted && pose_of(game.pawn).x == kPawnPose.x);
        EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
    }
}

TEST_F(ClientBRelocation, FailureAfterTheMoveCountsAsBothDoneAndFailed) {
    host.console->fail_lines_containing(L"moved CLIENT B");
    relocate_client_b();
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"),
              "Client B local pawn relocation threw an exception: simulated console failure\n");
    EXPECT_TRUE(clientBSpawnAdjusted && clientBSpawnAdjustFailed && testFailed);
    EXPECT_NE(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
}

} // namespace
} // namespace korvath::test
