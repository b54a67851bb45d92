#include "tools/sim/simulated_world.hpp"

namespace korvath::sim {

auto set_up_world(const SimOptions& options) -> standin::GameWorld {
    auto& engine = standin::engine();
    engine.reset();
    engine.set_version(options.engineMajor, options.engineMinor);
    engine.keep_journal(false); // nothing reads it here, and a long run would grow it without bound
    const std::wstring mapName(options.mapName.begin(), options.mapName.end()); // printable ASCII
    const standin::GameWorld world = engine.populate_game_world(options.pawn, mapName);
    for (const FaultSetting& setting : options.faults)
        engine.set_fault(setting.op, setting.fault);
    return world;
}

} // namespace korvath::sim
