// The status report: its 27 lines from the shared session state, and the number format it uses.

#include "diagnostics/report_number.hpp"
#include "diagnostics/status_report.hpp"
#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <locale>
#include <string>

namespace korvath::test {
namespace {

class StatusReport : public ::testing::Test {
protected:
    StatusReport() {
        reset_session_state();
        exchangeDirectory = exchange_dir();
    }
    static auto report() -> std::string {
        write_status_report();
        return read_file(exchange_dir() / "cpp_phase5g_status.txt");
    }
};

// printf's "%.6g" under any locale; the status reports below hold more values in it.
TEST(ReportNumber, IsShortestGeneralWithSixDigitsAndAFullStopUnderADecimalCommaLocale) {
    struct DecimalComma : std::numpunct<char> {
        auto do_decimal_point() const -> char override { return ','; }
    };
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    for (const auto& [value, text] :
         {std::pair{0.0001f, "0.0001"}, {9999995.0f, "1e+07"}, {-1234.5f, "-1234.5"}})
        EXPECT_EQ(format_report_number(static_cast<double>(value)), text);
    std::locale::global(previous);
}

// Every line of a state where the remote row, the applied pose and most flags are set, then the remaining
// flags.
TEST_F(StatusReport, ShowsTheLastRemoteRowTheAppliedPoseAndEveryFlag) {
    write_file(exchange_dir() / "remote_players.tsv",
               "p-7\tKestren of the North\t1234.5678\t1234567\t-0.25\t0.0000699382\tMap_North\n");
    RemotePlayerState row;
    ASSERT_TRUE(read_remote_players(row));
    {
        std::lock_guard lock(remoteStateMutex);
        remotePlayerSnapshot = row;
        appliedProxyState = {"p-7", "", "", 1234.5678f, 1234567.0f, 0.0000699382f, 0.0f, true};
    }
    for (auto* flag : {&sessionEnabled, &proxyActive, &proxyEverSpawned, &remoteFresh, &testFailed,
                       &clientBSpawnAdjustFailed, &clientRole})
        flag->exchange(true);
    movementUpdates.exchange(10'000'000);

    EXPECT_EQ(report(), "phase=5G\nsessionEnabled=1\nproxyActive=1\nproxyEverSpawned=1\nproxyDestroyed=0\n"
                        "remoteFileFresh=1\nmovementUpdates=10000000\nlastMoveReturned=0\ntestFailed=1\n"
                        "clientRole=CLIENT_B\nclientBSpawnAdjusted=0\nclientBSpawnAdjustFailed=1\n"
                        "remotePlayerId=p-7\nremoteDisplayName=Kestren of the North\nremoteMap=Map_North\n"
                        "targetX=1234.57\ntargetY=1.23457e+06\ntargetZ=-0.25\ntargetYaw=6.99382e-05\n"
                        "appliedX=1234.57\nappliedY=1.23457e+06\nappliedZ=6.99382e-05\nappliedYaw=0\n"
                        "collisionDisabled=1\ntickDisabled=1\ncontrollerCreationRequested=0\n"
                        "smoothingAlpha=0.35\n");

    // The remaining flags flip their own lines only; the role line follows clientRole.
    for (auto* flag : {&proxyDestroyed, &lastMoveReturned, &clientBSpawnAdjusted})
        flag->exchange(true);
    clientRole.exchange(kClientA);
    const std::string text = report();
    for (const char* line : {"\nproxyDestroyed=1\n", "\nlastMoveReturned=1\n", "\nclientBSpawnAdjusted=1\n",
                             "\nclientRole=CLIENT_A\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

} // namespace
} // namespace korvath::test
