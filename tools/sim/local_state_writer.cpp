#include "tools/sim/local_state_writer.hpp"

#include "tools/platform/os.hpp"

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

LocalStateWriter::LocalStateWriter(std::filesystem::path exchangeDir, std::string mapName)
    : m_path(exchangeDir / "local_state.tsv")
    , m_temporary(exchangeDir / "local_state.tsv.tmp")
    , m_mapName(std::move(mapName)) {}

auto LocalStateWriter::write(const standin::Pose& pose, SteadyClock::time_point sampledAt) -> bool {
    const auto sampleMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(sampledAt.time_since_epoch()).count();
    const std::string row = local_state_row(pose, m_mapName, sampleMs, ++m_sequence);
    std::FILE* file = os::open_file(m_temporary, "wb");
    if (!file) {
        // The mod creates the exchange directory with its first report; do not wait for it.
        std::error_code error;
        std::filesystem::create_directories(m_path.parent_path(), error);
        file = os::open_file(m_temporary, "wb");
        if (!file)
            return false;
    }
    const bool written = std::fwrite(row.data(), 1, row.size(), file) == row.size();
    if (std::fclose(file) != 0 || !written)
        return false;
    std::error_code error;
    std::filesystem::rename(m_temporary, m_path, error);
    return !error;
}

} // namespace korvath::sim
