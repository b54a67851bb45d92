#include "tools/sim/world_log.hpp"

#include "standin/Devices.hpp"
#include "standin/Engine.hpp"

#include "tools/platform/os.hpp"

#include <chrono>
#include <stdexcept>

namespace korvath::sim {

WorldLog::WorldLog(const std::filesystem::path& path)
    : m_file(os::open_file(path, "wb")) {
    if (!m_file)
        throw std::runtime_error("cannot open the world log " + path.string());
}

WorldLog::~WorldLog() {
    std::fclose(m_file);
}

auto WorldLog::write_line(double secondsSinceStart, const standin::ActorState& state, double monotonic)
    -> void {
    std::fprintf(m_file, "%.3f\t%s\t%s\t%.3f\t%.3f\t%.3f\t%.3f\t%d\t%d\t%d\t%d\t%.6f\n", secondsSinceStart,
                 standin::to_utf8(state.fullName).c_str(), standin::to_utf8(state.className).c_str(),
                 state.pose.x, state.pose.y, state.pose.z, state.pose.yaw, state.hidden, state.collision,
                 state.tick, state.alive, monotonic);
}

auto WorldLog::snapshot(double secondsSinceStart) -> void {
    const double monotonic =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    std::unordered_set<const void*> present;
    for (const auto& [actor, state] : standin::engine().actor_states()) {
        present.insert(actor);
        if (state.alive) {
            m_endLogged.erase(actor); // a collected actor's address may come back as a new actor's
            m_living[actor] = state;
        } else {
            if (!m_endLogged.insert(actor).second)
                continue;
            m_living.erase(actor);
        }
        write_line(secondsSinceStart, state, monotonic);
    }
    // Collected since the last snapshot without a line that showed its end.
    for (auto it = m_living.begin(); it != m_living.end();) {
        if (present.contains(it->first)) {
            ++it;
            continue;
        }
        it->second.alive = false;
        write_line(secondsSinceStart, it->second, monotonic);
        it = m_living.erase(it);
    }
    std::erase_if(m_endLogged, [&](const void* actor) { return !present.contains(actor); });
    std::fflush(m_file);
}

} // namespace korvath::sim
