// Removing the proxy on request, and what is left when that fails or the engine removed it first.

#include "actions/proxy_destroy.hpp"
#include "actions/proxy_sync.hpp"
#include "support/action_fixture.hpp"

#include <tuple>

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

auto destroy_report(const std::string& reason) -> std::string {
    return "phase=5G\nproxyDestroyRequested=1\nproxyDestroyCallReturned=1\ndestroyReason=" + reason + "\n";
}

class ProxyDestroy : public ActionTest {
protected:
    auto spawn_proxy() -> RC::Unreal::AActor* {
        report_remote(10.0f);
        sync_proxy();
        host.console->clear();
        return proxyActor;
    }
};

TEST_F(ProxyDestroy, DestroysNamesAndRecordsTheReason) {
    proxyActive.store(true);
    destroy_proxy("kill-switch"); // no proxy: only proxyActive is cleared
    EXPECT_TRUE(!proxyActive && !proxyDestroyed && host.console->lines().empty() &&
                exchange_file("cpp_phase5g_destroy.txt") == "<missing>");

    auto* const actor = spawn_proxy();
    ASSERT_NE(actor, nullptr);
    const std::wstring name = standin::engine().inspect(actor).fullName;
    destroy_proxy("remote-player-stale");
    EXPECT_TRUE(live_actors() == 0 && proxyActor == nullptr && !proxyActive && proxyDestroyed && !testFailed);
    EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), destroy_report("remote-player-stale"));
    EXPECT_EQ(console_lines(),
              (std::vector<std::wstring>{
                  L"[KorvathOnlineCpp] Phase 5G destroying real-client proxy: " + name + L"\n",
                  L"[KorvathOnlineCpp] Phase 5G real-client proxy destroy call returned successfully.\n"}));

    // The next sync spawns a new proxy; it has been spawned all along.
    sync_proxy();
    EXPECT_TRUE(proxyActor != nullptr && proxyActor != actor && proxyActive && !proxyDestroyed &&
                proxyEverSpawned);
}

TEST_F(ProxyDestroy, FailureKeepsTheProxySoTheDestroyIsTriedAgain) {
    auto* const actor = spawn_proxy();
    for (const auto& [op, mode, error] :
         {std::tuple{Op::Destroy, FaultMode::Throw,
                     "Destroy call threw an exception: simulated destroy failure"},
          std::tuple{Op::FullName, FaultMode::ThrowUnknown, "Destroy call threw an unknown exception."}}) {
        standin::engine().set_fault(op, Fault{mode, standin::engine().calls(op) + 1});
        destroy_proxy("remote-player-stale");
        standin::engine().clear_faults();

        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(error) + "\n");
        EXPECT_TRUE(proxyActor == actor && proxyActive && !proxyDestroyed &&
                    pendingGameThreadCommand == GameThreadCommand::None);
        EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), "<missing>");
    }
    destroy_proxy("remote-player-stale");
    EXPECT_TRUE(testFailed && !standin::engine().inspect(actor).alive && proxyDestroyed);

    // A failure after the destroy call came back still counts the proxy as destroyed.
    spawn_proxy();
    host.console->fail_lines_containing(L"destroy call returned successfully");
    destroy_proxy("kill-switch");
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"),
              "Destroy call threw an exception: simulated console failure\n");
    EXPECT_TRUE(proxyActor == nullptr && !proxyActive && proxyDestroyed);
    EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), destroy_report("kill-switch"));
}

// K2_DestroyActor has no result: an engine that keeps the actor without raising anything left a live proxy
// that the mod counted as gone (the status said proxyActive=0) and then spawned a second one beside it.
// The clean-up of a failed spawn that the engine keeps the same way is in
// ProxySync.ActorThatCannotBeDestroyedAfterAFailedSpawnIsKeptNeverDoubled.
TEST_F(ProxyDestroy, DestroyCallThatLeavesTheProxyInTheWorldKeepsItAndReports) {
    for (const FaultMode mode : {FaultMode::Missing, FaultMode::False}) {
        auto* const actor = spawn_proxy();
        standin::engine().set_fault(Op::Destroy, Fault{mode, standin::engine().calls(Op::Destroy) + 1});
        destroy_proxy("kill-switch");
        EXPECT_TRUE(standin::engine().inspect(actor).alive && proxyActor == actor && proxyActive &&
                    !proxyDestroyed);
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"),
                  "Destroy call returned but the proxy is still in the world.\n");
        sync_proxy(); // moves the kept proxy; spawns none beside it
        EXPECT_EQ(live_actors(), 1u);
        standin::engine().clear_faults();
        destroy_proxy("kill-switch");
        EXPECT_EQ(live_actors(), 0u);
    }
}

TEST_F(ProxyDestroy, ProxyRemovedByTheEngineIsNeitherNamedNorDestroyedButAccountedFor) {
    spawn_proxy();
    standin::engine().tear_down_world(game.world);
    destroy_proxy("remote-player-stale");

    // Only the spawn's GetFullName.
    EXPECT_TRUE(standin::engine().calls(Op::FullName) == 1 && standin::engine().calls(Op::Destroy) == 0);
    EXPECT_TRUE(proxyActor == nullptr && !proxyActive && proxyDestroyed && !testFailed);
    EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), destroy_report("remote-player-stale"));
    EXPECT_EQ(console_lines(),
              std::vector<std::wstring>{L"[KorvathOnlineCpp] Phase 5G real-client proxy was "
                                        L"already removed by the engine; no destroy call made.\n"});
}

} // namespace
} // namespace korvath::test
