#include "tools/sim/tracker_mode.hpp"

#include "tools/sim/game_folder.hpp"
#include "tools/sim/periodic.hpp"
#include "tools/tracker/tracker_host.hpp"

#include <chrono>
#include <cstdio>

namespace korvath::sim {

namespace {

namespace fs = std::filesystem;

constexpr auto kHostStep = std::chrono::milliseconds(5);

class LuaTrackerMode final : public TrackerMode {
public:
    LuaTrackerMode(fs::path stopFile, const fs::path& script, const tracker::HostSettings& settings,
                   const standin::AActor* pawn)
        : m_stopFile(std::move(stopFile))
        , m_host(script, settings, [this] { return m_framePose; })
        , m_pawn(pawn) {}

    // The host's clock stands still while the tracker is stopped, so that its loops resume where they
    // were instead of catching up on every period they missed. The host's game thread turns once for each
    // frame that moved the pawn, at that frame's time, as the host's engine tick does: the tracker reads
    // every frame's pose once, timed by its frame. A pawn that no frame moves is looked at every step.
    auto run(StopFlag& stop, SteadyClock::time_point start, const FrameClock& frames, SimControl& control)
        -> void override {
        bool stopped = false;
        SteadyClock::duration pausedFor{};
        SteadyClock::time_point pausedAt;
        run_every(kHostStep, stop, [&] {
            std::error_code error;
            const bool stopNow = fs::exists(m_stopFile, error);
            if (stopNow != stopped) {
                stopped = stopNow;
                if (stopped)
                    pausedAt = SteadyClock::now();
                else
                    pausedFor += SteadyClock::now() - pausedAt;
                std::fprintf(stderr, "korvath-sim: the tracker %s\n",
                             stopped ? "stops (KorvathTracker.stop)" : "runs again");
            }
            if (stopped)
                return;
            standin::Pose pose;
            const auto frame = frames.stamped([&] { pose = standin::engine().inspect(m_pawn).pose; });
            if (frame && frame == m_lastFrame)
                return;
            m_lastFrame = frame;
            m_framePose = tracker::TrackedPose{pose.x, pose.y, pose.z, pose.yaw};
            const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
                frame.value_or(SteadyClock::now()) - start - pausedFor);
            try {
                for (const KeyPress& press : control.take_key_presses())
                    this->press(press);
                m_host.advance_to(elapsed.count());
            } catch (const std::exception& problem) {
                std::fprintf(stderr, "korvath-sim: tracker: %s\n", problem.what());
            }
            const auto errors = m_host.errors();
            for (std::size_t i = m_reportedErrors; i < errors.size() && i < kMaxReportedErrors; ++i)
                std::fprintf(stderr, "korvath-sim: tracker callback failed: %s\n", errors[i].c_str());
            m_reportedErrors = errors.size();
        });
    }

private:
    auto press(const KeyPress& press) -> void {
        std::string name;
        for (const std::string& modifier : press.modifiers)
            name += modifier + "+";
        name += press.key;
        const int ran = m_host.press_key(press.key, press.modifiers);
        std::fprintf(stderr, "korvath-sim: key %s pressed (%d binding%s)\n", name.c_str(), ran,
                     ran == 1 ? "" : "s");
    }

    static constexpr std::size_t kMaxReportedErrors = 10;
    fs::path m_stopFile;
    std::optional<tracker::TrackedPose> m_framePose; // the pawn in the last frame
    std::optional<SteadyClock::time_point> m_lastFrame;
    tracker::TrackerHost m_host;
    const standin::AActor* m_pawn;
    std::size_t m_reportedErrors = 0;
};

} // namespace

auto tracker_mode_available() -> bool {
    return true;
}

auto start_tracker_mode(const fs::path& gameDir, const std::string& mapName, const standin::AActor* pawn)
    -> std::unique_ptr<TrackerMode> {
    const fs::path script = gameDir / "Mods" / "KorvathTracker" / "Scripts" / "main.lua";
    fs::create_directories(script.parent_path());
    install_file(tracker::tracker_script(), script);
    fs::current_path(gameDir);
    tracker::HostSettings settings;
    settings.mapName = mapName;
    settings.gameDir = gameDir;
    settings.echo = true;
    settings.callerFrames = true;
    return std::make_unique<LuaTrackerMode>(gameDir / "KorvathTracker.stop", script, settings, pawn);
}

} // namespace korvath::sim
