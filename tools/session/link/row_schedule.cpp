#include "tools/session/link/row_schedule.hpp"

#include <cmath>

namespace korvath::session_tool {

auto RowSchedule::due(const PlayerPose& pose, std::chrono::nanoseconds now) const -> bool {
    if (!m_last || pose.mapName != m_last->pose.mapName || now - m_last->at >= kRowRefresh)
        return true;
    const PlayerPose& last = m_last->pose;
    const double dx = double(pose.x) - double(last.x), dy = double(pose.y) - double(last.y),
                 dz = double(pose.z) - double(last.z);
    const double moved = std::hypot(dx, dy, dz);
    const double turned = std::abs(std::remainder(double(pose.yaw) - double(last.yaw), 360.0));
    // Off the course of the last two rows, carried on to now.
    double ox = dx, oy = dy, oz = dz;
    if (m_before) {
        const double share = std::chrono::duration<double>(now - m_last->at) /
                             std::chrono::duration<double>(m_last->at - m_before->at);
        ox -= share * (double(last.x) - double(m_before->pose.x));
        oy -= share * (double(last.y) - double(m_before->pose.y));
        oz -= share * (double(last.z) - double(m_before->pose.z));
    }
    const double off = std::hypot(ox, oy, oz);
    if (off > kRowSurprise || !std::isfinite(off))
        return true;
    return now - m_last->at >= kRowPeriod - kRowPeriodSlack && (moved >= kRowSame || turned >= kRowSame);
}

auto RowSchedule::written(const PlayerPose& pose, std::chrono::nanoseconds now) -> void {
    if (m_last && m_last->pose.mapName == pose.mapName && now > m_last->at)
        m_before = m_last;
    else
        m_before.reset();
    m_last = Row{pose, now};
}

} // namespace korvath::session_tool
