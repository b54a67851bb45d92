#include "tools/sim/local_state_writer.hpp"

#include "tools/session/exchange/file_io.hpp"

#include <chrono>
#include <cstdio>
#include <system_error>

namespace korvath::sim {

auto local_state_row(const standin::Pose& pose, const std::string& mapName, int64_t sampleMs,
                     uint64_t sequence) -> std::string {
    constexpr const char* kFormat = "%.3f\t%.3f\t%.3f\t%.3f\t";
    const int length = std::snprintf(nullptr, 0, kFormat, pose.x, pose.y, pose.z, pose.yaw);
    std::string row(static_cast<std::size_t>(length), '\0');
    std::snprintf(row.data(), row.size() + 1, kFormat, pose.x, pose.y, pose.z, pose.yaw);
    return row + mapName + "\t" + std::to_string(sampleMs) + "\t" + std::to_string(sequence) + "\n";
}

LocalStateWriter::LocalStateWriter(std::filesystem::path exchangeDir)
    : m_path(exchangeDir / "local_state.tsv") {}

auto LocalStateWriter::write(const standin::Pose& pose, const std::string& mapName,
                             SteadyClock::time_point sampledAt) -> bool {
    const auto sampleMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(sampledAt.time_since_epoch()).count();
    const std::string row = local_state_row(pose, mapName, sampleMs, ++m_sequence);
    // Creates the exchange directory when the mod has not yet written its first report.
    return session_tool::write_file_atomically(m_path, row);
}

} // namespace korvath::sim
