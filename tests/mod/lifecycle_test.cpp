// The real mod library, loaded by path the way the host loads it.

#include "support/test_support.hpp"

#include "standin/Engine.hpp"

#include <gtest/gtest.h>

#include <cstdio>

namespace korvath::test {
namespace {

const std::wstring kLoadedLine =
    L"[KorvathOnlineCpp] Phase 5G DLL loaded. Waiting for a one-time real-client proxy enable marker.\n";
const std::wstring kUnloadedLine = L"[KorvathOnlineCpp] Phase 5G DLL unloaded.\n";

class Lifecycle : public ::testing::Test {
protected:
    HostFixture host;
};

TEST_F(Lifecycle, StartWritesLoadedReportReadsRoleAndClearsEarlierReports) {
    const char* earlier[] = {"cpp_phase5g_spawn.txt", "cpp_phase5g_status.txt", "cpp_phase5g_destroy.txt",
                             "cpp_phase5g_error.txt", "cpp_phase5g_client_spawn.txt"};
    // Reports that this run rewrites when it gets there are left alone until then.
    const char* kept[] = {"cpp_heartbeat.txt", "cpp_unreal_ready.txt", "cpp_mod_unloaded.txt"};
    for (const char* name : earlier)
        write_file(exchange_dir() / name, "old run\n");
    for (const char* name : kept)
        write_file(exchange_dir() / name, "old run\n");
    write_file(exchange_dir() / "phase5g-role.txt", "CLIENT_B\r\n");

    auto mod = load_mod_copy(KORVATH_MOD_LIBRARY);
    RC::CppUserModBase* object = mod.start();
    ASSERT_NE(object, nullptr);

    EXPECT_TRUE(fs::exists(exchange_dir() / "cpp_mod_loaded.txt"));
    for (const char* name : earlier)
        EXPECT_FALSE(fs::exists(exchange_dir() / name)) << name;
    for (const char* name : kept)
        EXPECT_EQ(read_file(exchange_dir() / name), "old run\n") << name;

    // Both recording devices got the line, the one that takes the level with 0.
    const auto lines = host.console->lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].text == kLoadedLine && lines[0].level == -1 && lines[1].text == kLoadedLine &&
                lines[1].level == 0);

    // The role shows in the first status report, written on the first tick.
    object->on_update();
    const std::string status = read_file(exchange_dir() / "cpp_phase5g_status.txt");
    EXPECT_NE(status.find("\nclientRole=CLIENT_B\n"), std::string::npos) << status;

    host.console->clear();
    mod.uninstall(nullptr); // ignored
    EXPECT_EQ(read_file(exchange_dir() / "cpp_mod_unloaded.txt"), "old run\n");
    mod.uninstall(object);
    EXPECT_EQ(read_file(exchange_dir() / "cpp_mod_unloaded.txt"),
              "KorvathOnlineCpp Phase 5G unloaded with no active proxy.\n");
    EXPECT_EQ(host.console->texts(), (std::vector{kUnloadedLine, kUnloadedLine}));
}

TEST_F(Lifecycle, UnwritableExchangeDirectoryLosesOnlyTheReports) {
    // A plain file where the exchange directory should be: nothing can be written, nothing throws.
    write_file(exchange_dir(), "not a directory");
    auto mod = load_mod_copy(KORVATH_MOD_LIBRARY);
    RC::CppUserModBase* object = mod.start();
    object->on_update();
    EXPECT_EQ(host.console->texts().front(), kLoadedLine);

    // Once the cause is gone the next write succeeds.
    fs::remove(exchange_dir());
    mod.uninstall(object);
    EXPECT_TRUE(fs::exists(exchange_dir() / "cpp_mod_unloaded.txt"));
}

TEST_F(Lifecycle, CallbackOutlivesTheHostFreeingTheLibraryAndOneCallbackServesAReload) {
    auto mod = load_mod_copy(KORVATH_MOD_LIBRARY);
    RC::CppUserModBase* object = mod.start();
    object->on_unreal_init();
    mod.uninstall(object);
    mod.free_library();
    // The callback stays registered and runs on every ProcessEvent call after the unload.
    for (int i = 0; i < 200; ++i)
        standin::engine().process_event();

    auto reloaded = standin::LoadedMod::load(mod.path());
    object = reloaded.start();
    object->on_unreal_init();
    object->on_update();
    standin::engine().process_event();
    EXPECT_EQ(standin::engine().callback_count(), 1u);
    reloaded.uninstall(object);
    reloaded.free_library();
}

TEST(LibraryExports, OnlyTheTwoEntryPointsAreExported) {
#ifdef _WIN32
    GTEST_SKIP() << "a Windows build checks its DLLs' export tables with objdump, outside Wine";
#endif
    for (const char* library : {KORVATH_MOD_LIBRARY, KORVATH_DRIVEN_MOD_LIBRARY}) {
        FILE* pipe =
            popen((std::string("nm -D --defined-only --format=just-symbols ") + library).c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string symbols;
        for (int c; (c = fgetc(pipe)) != EOF;)
            symbols += static_cast<char>(c);
        ASSERT_EQ(pclose(pipe), 0);
        EXPECT_EQ(symbols, "start_mod\nuninstall_mod\n") << library;
    }
}

} // namespace
} // namespace korvath::test
