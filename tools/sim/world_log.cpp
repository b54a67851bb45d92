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

auto WorldLog::snapshot(double secondsSinceStart) -> void {
    const double monotonic =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    for (const auto* actor : standin::engine().actors()) {
        if (m_endLogged.contains(actor))
            continue;
        const standin::ActorState state = standin::engine().inspect(actor);
        if (!state.alive)
            m_endLogged.insert(actor);
        std::fprintf(m_file, "%.3f\t%s\t%s\t%.3f\t%.3f\t%.3f\t%.3f\t%d\t%d\t%d\t%d\t%.6f\n",
                     secondsSinceStart, standin::to_utf8(state.fullName).c_str(),
                     standin::to_utf8(state.className).c_str(), state.pose.x, state.pose.y, state.pose.z,
                     state.pose.yaw, state.hidden, state.collision, state.tick, state.alive, monotonic);
    }
    std::fflush(m_file);
}

} // namespace korvath::sim
