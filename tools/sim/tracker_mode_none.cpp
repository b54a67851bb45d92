#include "tools/sim/tracker_mode.hpp"

#include <stdexcept>

namespace korvath::sim {

auto tracker_mode_available() -> bool {
    return false;
}

auto start_tracker_mode(const std::filesystem::path&, const std::string&, const standin::AActor*)
    -> std::unique_ptr<TrackerMode> {
    throw std::runtime_error("this build has no Lua 5.4 for the tracker mode");
}

} // namespace korvath::sim
