// Removing the proxy on request, and what is left when that fails or the engine removed it first.

#include "actions/proxy_destroy.hpp"
#include "actions/proxy_sync.hpp"
#include "support/action_fixture.hpp"

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

const std::wstring kDestroyedLine =
    L"[KorvathOnlineCpp] Phase 5G real-client proxy destroy call returned successfully.\n";
const std::wstring kAlreadyGoneLine =
    L"[KorvathOnlineCpp] Phase 5G real-client proxy was already removed by the "
    L"engine; no destroy call made.\n";

auto destroy_report(const std::string& reason) -> std::string {
    return "phase=5G\nproxyDestroyRequested=1\nproxyDestroyCallReturned=1\ndestroyReason=" + reason + "\n";
}

class ProxyDestroy : public ActionTest {
protected:
    auto spawn_proxy() -> RC::Unreal::AActor* {
        report_remote(10.0f, 20.0f, 30.0f, 40.0f);
        sync_proxy();
        host.console->clear();
        return proxyActor;
    }
};

TEST_F(ProxyDestroy, WithoutProxyOnlyClearsProxyActive) {
    proxyActive.store(true);
    destroy_proxy("kill-switch");
    EXPECT_FALSE(proxyActive);
    EXPECT_FALSE(proxyDestroyed);
    EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), "<missing>");
    EXPECT_TRUE(host.console->lines().empty());
}

TEST_F(ProxyDestroy, DestroysNamesAndRecordsTheReasonThenAllowsANewSpawn) {
    for (const char* reason : {"kill-switch", "remote-player-stale"}) {
        auto* const actor = spawn_proxy();
        ASSERT_NE(actor, nullptr);
        const std::wstring name = standin::engine().inspect(actor).fullName;
        destroy_proxy(reason);

        EXPECT_FALSE(standin::engine().inspect(actor).alive);
        EXPECT_EQ(proxyActor, nullptr);
        EXPECT_FALSE(proxyActive);
        EXPECT_TRUE(proxyDestroyed && proxyEverSpawned);
        EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), destroy_report(reason));
        EXPECT_EQ(console_lines(),
                  (std::vector<std::wstring>{L"[KorvathOnlineCpp] Phase 5G destroying real-client proxy: " +
                                                 name + L"\n",
                                             kDestroyedLine}));
    }
    EXPECT_EQ(standin::engine().spawned_actors().size(), 2u); // the second came from a fresh spawn
    EXPECT_FALSE(testFailed);
}

TEST_F(ProxyDestroy, FailureKeepsTheProxySoTheDestroyIsTriedAgain) {
    struct Row {
        Op op;
        FaultMode mode;
        const char* error;
    };
    auto* const actor = spawn_proxy();
    for (const Row row :
         {Row{Op::Destroy, FaultMode::Throw, "Destroy call threw an exception: simulated destroy failure"},
          Row{Op::FullName, FaultMode::ThrowUnknown, "Destroy call threw an unknown exception."}}) {
        standin::engine().set_fault(row.op, Fault{row.mode, 1});
        destroy_proxy("remote-player-stale");
        standin::engine().clear_faults();

        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(row.error) + "\n");
        EXPECT_EQ(proxyActor, actor);
        EXPECT_TRUE(proxyActive);
        EXPECT_FALSE(proxyDestroyed);
        EXPECT_EQ(pendingGameThreadCommand.load(), GameThreadCommand::None);
        EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), "<missing>");
    }
    EXPECT_TRUE(testFailed);
    destroy_proxy("remote-player-stale");
    EXPECT_FALSE(standin::engine().inspect(actor).alive);
    EXPECT_TRUE(proxyDestroyed);
}

TEST_F(ProxyDestroy, ProxyRemovedByTheEngineIsNeitherNamedNorDestroyedButAccountedFor) {
    spawn_proxy();
    standin::engine().tear_down_world(game.world);
    destroy_proxy("remote-player-stale");

    EXPECT_EQ(standin::engine().calls(Op::FullName), 1u); // only the spawn's
    EXPECT_EQ(standin::engine().calls(Op::Destroy), 0u);
    EXPECT_EQ(proxyActor, nullptr);
    EXPECT_FALSE(proxyActive);
    EXPECT_TRUE(proxyDestroyed);
    EXPECT_EQ(exchange_file("cpp_phase5g_destroy.txt"), destroy_report("remote-player-stale"));
    EXPECT_EQ(console_lines(), std::vector<std::wstring>{kAlreadyGoneLine});
    EXPECT_FALSE(testFailed);
}

} // namespace
} // namespace korvath::test
