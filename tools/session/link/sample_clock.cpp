#include "tools/session/link/sample_clock.hpp"

#include <algorithm>
#include <limits>

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;

constexpr int64_t kDriftDivisor = 1000; // the offset may rise 1 ms a second, far above any clock's drift
constexpr nanoseconds kRestartJump = std::chrono::seconds(1);
// Stamps are clamped to this (about 73 years), so that no difference of clock times can overflow.
constexpr int64_t kLargestStampMs = std::numeric_limits<int64_t>::max() / 1'000'000 / 4;

} // namespace

auto SampleClock::place(int64_t sampleMs, nanoseconds readAt) -> nanoseconds {
    const auto stamp = std::chrono::milliseconds(std::clamp(sampleMs, -kLargestStampMs, kLargestStampMs));
    const nanoseconds gap = readAt - stamp;
    if (!m_offset || gap - *m_offset > kRestartJump)
        m_offset = gap;
    else
        m_offset = std::min(gap, *m_offset + std::max(nanoseconds(0), readAt - m_offsetAt) / kDriftDivisor);
    m_offsetAt = readAt;
    return std::min(readAt, stamp + *m_offset);
}

} // namespace korvath::session_tool
