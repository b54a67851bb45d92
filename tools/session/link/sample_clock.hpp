#pragma once
// Places the stamps of a writer's monotonic clock on the relay's own clock. The two clocks need not
// share a zero: the offset between them is taken as the smallest gap seen between a stamp and the
// moment the relay first read that sample, which leaves the sample's age wrong by no more than the
// shortest delay between a write and its read. The offset may creep up slowly (clock drift); a jump of
// more than a second (the writer restarted) starts it afresh.

#include <chrono>
#include <cstdint>
#include <optional>

namespace korvath::session_tool {

class SampleClock {
public:
    // The time on the relay's clock at which a sample stamped `sampleMs` was taken, given that the relay
    // first read it at `readAt`. Never later than `readAt`.
    auto place(int64_t sampleMs, std::chrono::nanoseconds readAt) -> std::chrono::nanoseconds;

private:
    std::optional<std::chrono::nanoseconds> m_offset; // relay clock minus writer clock
    std::chrono::nanoseconds m_offsetAt{};            // when the offset was last lowered or reset
};

} // namespace korvath::session_tool
