#include "tools/session/watch/watch_desync.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/watch/proxy_report.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

auto in_seconds(fs::file_time_type at) -> double {
    return std::chrono::duration<double>(at.time_since_epoch()).count();
}

} // namespace

auto WatchDesync::update(const fs::path& gameDirA, const fs::path& gameDirB) -> void {
    const fs::path dirs[2] = {exchange_dir_of(gameDirA), exchange_dir_of(gameDirB)};
    for (std::size_t side = 0; side < 2; ++side) {
        Side& s = m_sides[side];
        if (const auto local = read_if_rewritten(dirs[1 - side] / kLocalStateFile, s.pawnAt))
            if (const auto pose = parse_local_state(local->first))
                s.meter.add_player(in_seconds(local->second), {pose->x, pose->y, pose->z});
        if (const auto status = read_if_rewritten(dirs[side] / kStatusReport, s.proxyAt))
            if (const auto proxy = shown_proxy_position(status->first))
                s.meter.add_proxy(in_seconds(status->second), *proxy);
    }
}

auto WatchDesync::text(std::size_t side, fs::file_time_type now) const -> std::optional<std::string> {
    const auto figures = m_sides.at(side).meter.figures(in_seconds(now));
    if (!figures)
        return std::nullopt;
    char text[160];
    std::snprintf(text, sizeof text,
                  "proxy of the other player: %.1f units from the pawn on average, RMS %.1f, max %.1f "
                  "(%zu reports in 10 s)",
                  figures->mean, figures->rms, figures->max, figures->count);
    return text;
}

} // namespace korvath::session_tool
