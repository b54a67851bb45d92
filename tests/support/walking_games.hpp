#pragma once
// Two simulated games as the demo starts them: A walks the demo's path, B stands. The test links them; this
// watches both through their reports and world logs.

#include "support/test_support.hpp"
#include "tools/session/demo/demo_client.hpp"
#include "tools/session/demo/demo_plan.hpp"

#include <chrono>
#include <functional>

namespace korvath::test {

struct WalkingGames {
    using Clock = std::chrono::steady_clock;

    explicit WalkingGames(const fs::path& dir)
        : a(session_tool::demo_client_files(dir, session_tool::ClientRole::ClientA))
        , b(session_tool::demo_client_files(dir, session_tool::ClientRole::ClientB)) {
        const session_tool::DemoPrograms programs{tool_program("korvath-sim"), fs::path(KORVATH_MOD_LIBRARY)};
        a.start(programs,
                {"--ready-after", "0.5", "--duration", "90", "--walk",
                 session_tool::demo_walk_argument(demo, plan)},
                now_seconds());
        b.start(programs, {"--ready-after", "0.5", "--duration", "90"}, now_seconds());
    }

    auto now_seconds() const -> double { return std::chrono::duration<double>(Clock::now() - start).count(); }
    // Polls both games every `every` until `done` holds or `limit` has passed; the last answer.
    auto observe_until(std::chrono::milliseconds limit, const std::function<bool()>& done,
                       std::chrono::milliseconds every = std::chrono::milliseconds(50)) -> bool {
        return wait_until(
            limit, [&] { return a.observe(), b.observe(), done(); }, every);
    }
    auto stop() -> void {
        a.stop(plan.shutdownGrace);
        b.stop(plan.shutdownGrace);
    }

    const session_tool::DemoOptions demo;
    const session_tool::DemoPlan plan = session_tool::make_demo_plan(demo);
    const Clock::time_point start = Clock::now();
    session_tool::DemoClient a;
    session_tool::DemoClient b;
};

} // namespace korvath::test
