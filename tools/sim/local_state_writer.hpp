#pragma once
// Keeps KorvathOnline/local_state.tsv up to date with the local pawn's pose, as the outside session
// process's tracker of this game does: one row "x<TAB>y<TAB>z<TAB>yaw<TAB>mapName<LF>", replaced whole
// (temporary file and rename), so the mod never reads half a row.

#include "standin/Engine.hpp"

#include <filesystem>
#include <string>

namespace korvath::sim {

// The row for one pose: coordinates and yaw with three decimals.
auto local_state_row(const standin::Pose& pose, const std::string& mapName) -> std::string;

class LocalStateWriter {
public:
    LocalStateWriter(std::filesystem::path exchangeDir, std::string mapName);

    // Writes the row for `pose`; false when the file could not be replaced.
    auto write(const standin::Pose& pose) -> bool;

private:
    std::filesystem::path m_path;
    std::filesystem::path m_temporary;
    std::string m_mapName;
};

} // namespace korvath::sim
