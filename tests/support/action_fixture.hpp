#pragma once
// A game-thread action test: a clean engine with a populated game world, recording console devices and
// the exchange directory of the test's game folder.

#include "exchange/exchange_directory.hpp"
#include "mod/session_state.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korvath::test {

inline constexpr standin::Pose kPawnPose{100.0, 200.0, 300.0, 0.0, 0.0, 0.0};
inline const std::wstring kErrorLine =
    L"[KorvathOnlineCpp] Phase 5G failed; see cpp_phase5g_error.txt for details.\n";

class ActionTest : public ::testing::Test {
protected:
    ActionTest()
        : game(standin::engine().populate_game_world(kPawnPose)) {
        exchangeDirectory = exchange_dir();
    }

    static auto report_remote(float x, bool valid = true) -> void {
        std::lock_guard lock(remoteStateMutex);
        remotePlayerSnapshot = RemotePlayerState{"p2", "KESTREN CLIENT B", "Map_A", x, 20, 30, 40, valid};
    }
    static auto applied_x() -> float {
        std::lock_guard lock(remoteStateMutex);
        return appliedProxyState.x;
    }
    // Content of an exchange file, or "<missing>".
    static auto exchange_file(const char* name) -> std::string {
        const fs::path path = exchange_dir() / name;
        return fs::exists(path) ? read_file(path) : std::string("<missing>");
    }
    // Lines as the device that takes the log level received them.
    auto console_lines() const -> std::vector<std::wstring> {
        std::vector<std::wstring> out;
        for (const auto& line : host.console->lines())
            if (line.level >= 0)
                out.push_back(line.text);
        return out;
    }
    static auto pose_of(const RC::Unreal::AActor* actor) -> standin::Pose {
        return standin::engine().inspect(actor).pose;
    }
    // Spawned actors still in the world.
    static auto live_actors() -> std::size_t {
        std::size_t live = 0;
        for (auto* actor : standin::engine().spawned_actors())
            live += standin::engine().inspect(actor).alive ? 1 : 0;
        return live;
    }

    HostFixture host;
    standin::GameWorld game;
};

} // namespace korvath::test
