#include "tools/session/watch/watch_desync.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/report_lines.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kStatusReport = "cpp_phase5g_status.txt";

auto in_seconds(fs::file_time_type at) -> double {
    return std::chrono::duration<double>(at.time_since_epoch()).count();
}

// The file's content with its last-write time, when the file did not change while it was read and was
// rewritten since `seen`.
auto read_if_rewritten(const fs::path& path, std::optional<fs::file_time_type>& seen)
    -> std::optional<std::pair<std::string, fs::file_time_type>> {
    const auto before = os::last_write_time(path);
    if (!before || before == seen)
        return std::nullopt;
    auto content = read_whole_file(path);
    if (!content || os::last_write_time(path) != before)
        return std::nullopt;
    seen = before;
    return std::pair{std::move(*content), *before};
}

auto number(const std::vector<ReportLine>& lines, std::string_view key) -> std::optional<double> {
    const auto text = report_value(lines, key);
    double value = 0.0;
    if (!text || text->empty())
        return std::nullopt;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc{} || end != text->data() + text->size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

auto WatchDesync::update(const fs::path& gameDirA, const fs::path& gameDirB) -> void {
    const fs::path dirs[2] = {exchange_dir_of(gameDirA), exchange_dir_of(gameDirB)};
    for (std::size_t side = 0; side < 2; ++side) {
        Side& s = m_sides[side];
        if (const auto local = read_if_rewritten(dirs[1 - side] / kLocalStateFile, s.pawnAt))
            if (const auto pose = parse_local_state(local->first))
                s.meter.add_player(in_seconds(local->second), {pose->x, pose->y, pose->z});
        if (const auto status = read_if_rewritten(dirs[side] / kStatusReport, s.proxyAt)) {
            const auto lines = parse_report(status->first);
            const auto x = number(lines, "appliedX"), y = number(lines, "appliedY"),
                       z = number(lines, "appliedZ");
            if (report_value(lines, "proxyActive") == "1" && x && y && z)
                s.meter.add_proxy(in_seconds(status->second), {*x, *y, *z});
        }
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
