#pragma once
// Keeps KorvathOnline/local_state.tsv up to date with the local pawn's pose, as the outside session
// process's tracker of this game does: one row
// "x<TAB>y<TAB>z<TAB>yaw<TAB>mapName<TAB>sampleMs<TAB>sequence<LF>", replaced whole (temporary file
// and rename), so the mod never reads half a row. The mod reads the first five fields; the sample time
// (milliseconds of the steady clock) and the sequence number let a relay tell how old the pose is.

#include "standin/Engine.hpp"
#include "tools/sim/stop_flag.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace korvath::sim {

// The row for one pose: coordinates and yaw with three decimals, then the sample time and number.
auto local_state_row(const standin::Pose& pose, const std::string& mapName, int64_t sampleMs,
                     uint64_t sequence) -> std::string;

class LocalStateWriter {
public:
    explicit LocalStateWriter(std::filesystem::path exchangeDir);

    // Writes the row for `pose` on map `mapName`, taken at `sampledAt`, numbered one above the last row
    // written; false when the file could not be replaced.
    auto write(const standin::Pose& pose, const std::string& mapName, SteadyClock::time_point sampledAt)
        -> bool;

private:
    std::filesystem::path m_path;
    uint64_t m_sequence = 0;
};

} // namespace korvath::sim
