// CLIENT_B's one move of its own pawn 800 units aside, and every way it can not happen.

#include "actions/client_b_relocation.hpp"
#include "support/action_fixture.hpp"

#include <functional>
#include <tuple>

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

const std::wstring kMovedLine =
    L"[KorvathOnlineCpp] Phase 5G.5 moved CLIENT B to its distinct local spawn before proxy sync.\n";

class ClientBRelocation : public ActionTest {
protected:
    ClientBRelocation() {
        clientRole.store(kClientB);
        clientBRelocationQueued.store(true);
    }
    static auto local_state(const char* row) -> void { write_file(exchange_dir() / "local_state.tsv", row); }
    auto pawn_pose() const -> standin::Pose { return pose_of(game.pawn); }
    // Nothing was moved or written, and no failure was recorded.
    auto expect_untouched() const -> void {
        EXPECT_EQ(standin::engine().calls(Op::Relocate), 0u);
        EXPECT_EQ(pawn_pose().x, kPawnPose.x);
        EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
        EXPECT_FALSE(clientBSpawnAdjusted || clientBSpawnAdjustFailed || testFailed);
        EXPECT_TRUE(console_lines().empty());
    }
};

struct Example {
    const char* row;
    double yaw;
    const char* numbers; // originalX..destinationZ, one per line
};
class ClientBRelocationExample : public ClientBRelocation,
                                 public ::testing::WithParamInterface<std::tuple<Example, int32_t>> {};

TEST_P(ClientBRelocationExample, MovesPawnBesideReportedPoseAndReportsWhatWasSent) {
    const auto& [example, major] = GetParam();
    standin::engine().set_version(major, major == 4 ? 27 : 1);
    local_state(example.row);
    relocate_client_b();

    EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"),
              std::string("phase=5G.3\nclientRole=CLIENT_B\nlocalPawnMoved=1\n") + example.numbers +
                  "separationDistance=800\nproxyExistedDuringMove=0\n");
    const auto pose = pawn_pose();
    EXPECT_EQ((std::array{pose.pitch, pose.yaw, pose.roll}), (std::array{0.0, example.yaw, 0.0}));
    EXPECT_TRUE(clientBSpawnAdjusted);
    EXPECT_FALSE(clientBSpawnAdjustFailed || testFailed);
    EXPECT_TRUE(clientBRelocationQueued);
    EXPECT_EQ(console_lines(), std::vector<std::wstring>{kMovedLine});
}

INSTANTIATE_TEST_SUITE_P(
    BothLayouts, ClientBRelocationExample,
    ::testing::Combine(
        ::testing::Values(
            Example{"1000\t2000\t100\t0\tMap_A\n", 0,
                    "originalX=1000\noriginalY=2000\noriginalZ=100\ndestinationX=1000\ndestinationY=2800\n"
                    "destinationZ=110\n"},
            Example{"1000\t2000\t100\t90\tMap_A\n", 90,
                    "originalX=1000\noriginalY=2000\noriginalZ=100\ndestinationX=200\ndestinationY=2000\n"
                    "destinationZ=110\n"},
            Example{"-1234.5\t678.25\t50.5\t45\tMap_A\n", 45,
                    "originalX=-1234.5\noriginalY=678.25\noriginalZ=50.5\ndestinationX=-1800.19\n"
                    "destinationY=1243.94\ndestinationZ=60.5\n"},
            Example{"0\t0\t0\t180\tMap_A\n", 180,
                    "originalX=0\noriginalY=0\noriginalZ=0\ndestinationX=6.99382e-05\ndestinationY=-800\n"
                    "destinationZ=10\n"}),
        ::testing::Values(4, 5)),
    [](const auto& test) {
        return "Yaw" + std::to_string(static_cast<int>(std::get<0>(test.param).yaw)) + "_UE" +
               std::to_string(std::get<1>(test.param));
    });

TEST_F(ClientBRelocation, ClientANeverMovesItsPawn) {
    clientRole.store(kClientA);
    local_state("1000\t2000\t100\t0\tMap_A\n");
    relocate_client_b();
    expect_untouched();
    EXPECT_TRUE(standin::engine().journal().empty());
    EXPECT_TRUE(clientBRelocationQueued);
}

TEST_F(ClientBRelocation, SecondCommandAfterSuccessDoesNothing) {
    local_state("1000\t2000\t100\t0\tMap_A\n");
    relocate_client_b();
    fs::remove(exchange_dir() / "cpp_phase5g_client_spawn.txt");
    const auto calls = standin::engine().journal().size();
    relocate_client_b();
    EXPECT_EQ(standin::engine().journal().size(), calls);
    EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
}

TEST_F(ClientBRelocation, NoPawnOrNoUsableLocalStateGivesUpTheQueuedCommand) {
    const std::function<void()> cases[] = {
        [] { fs::remove(exchange_dir() / "local_state.tsv"); },
        [] { set_file_age(exchange_dir() / "local_state.tsv", 10); },
        [] { local_state("1000\t2000\tnot-a-number\t0\tMap_A\n"); },
        [] {
            standin::engine().set_fault(Op::Pawn, Fault{FaultMode::Missing, 1});
        },
        [this] { standin::engine().tear_down_world(game.world); },
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        standin::engine().clear_faults();
        local_state("1000\t2000\t100\t0\tMap_A\n");
        clientBRelocationQueued.store(true);
        cases[i]();
        relocate_client_b();
        EXPECT_FALSE(clientBRelocationQueued);
        expect_untouched();
    }
}

TEST_F(ClientBRelocation, FailedMoveIsReportedAndNeverCountsAsDone) {
    struct Row {
        FaultMode mode;
        const char* error;
    };
    for (const Row row :
         {Row{FaultMode::False, "Client B local pawn relocation returned false."},
          Row{FaultMode::Throw, "Client B local pawn relocation threw an exception: simulated "
                                "relocate failure"},
          Row{FaultMode::ThrowUnknown, "Client B local pawn relocation threw an unknown exception."}}) {
        standin::engine().set_fault(Op::Relocate, Fault{row.mode, 1});
        local_state("1000\t2000\t100\t0\tMap_A\n");
        relocate_client_b();
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(row.error) + "\n");
        EXPECT_TRUE(clientBSpawnAdjustFailed && testFailed && clientBRelocationQueued);
        EXPECT_FALSE(clientBSpawnAdjusted);
        EXPECT_EQ(pawn_pose().x, kPawnPose.x);
        EXPECT_EQ(exchange_file("cpp_phase5g_client_spawn.txt"), "<missing>");
    }
}

} // namespace
} // namespace korvath::test
