#pragma once
// When a predicted remote_players.tsv row is worth writing. The mod reads the file at most every 75 ms
// and only the row it finds then counts, so a row written more often than the pose changes for the mod
// is never read. A moving pose is written every kRowPeriod (its lead grows by half of that, the row's
// mean age when read); a pose more than kRowSurprise from where the last two rows were heading (a
// stop, a turn, a jump) or on a new map at once; a pose that stands only to keep the file fresh.

#include "tools/session/exchange/player_pose.hpp"

#include <chrono>
#include <optional>

namespace korvath::session_tool {

inline constexpr std::chrono::nanoseconds kRowPeriod = std::chrono::milliseconds(40);
// A row is due this much before a whole period, so that a caller looking every 19 ms writes every 38.
inline constexpr std::chrono::nanoseconds kRowPeriodSlack = std::chrono::milliseconds(3);
// The mod takes a file not rewritten for 2 s as stale.
inline constexpr std::chrono::nanoseconds kRowRefresh = std::chrono::milliseconds(500);
// Units: a pose this far off the last rows' course is written at once; rows closer than kRowSame are
// the same.
inline constexpr double kRowSurprise = 12.0;
inline constexpr double kRowSame = 0.01;

class RowSchedule {
public:
    // Whether `pose` is worth writing at `now` (the caller's monotonic clock).
    auto due(const PlayerPose& pose, std::chrono::nanoseconds now) const -> bool;
    // `pose` was written at `now`.
    auto written(const PlayerPose& pose, std::chrono::nanoseconds now) -> void;
    // The next pose is due whatever it is (the file was not written, or the reader changed).
    auto forget() -> void {
        m_last.reset();
        m_before.reset();
    }

private:
    struct Row {
        PlayerPose pose;
        std::chrono::nanoseconds at{};
    };
    std::optional<Row> m_last;
    std::optional<Row> m_before; // the row before m_last, on the same map
};

// The time the prediction of a written row looks beyond the mod's own lag: half the period between rows.
inline constexpr std::chrono::nanoseconds kRowMeanAge = kRowPeriod / 2;

} // namespace korvath::session_tool
