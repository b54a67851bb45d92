#pragma once
// The disturbances of a soak run, drawn from a seeded generator so that a run can be repeated: the stop
// marker placed and removed, the enable marker toggled, the relay paused past the stale limit, bursts
// of rewrites of the remote table, map changes and engine faults that end after a while.

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace korvath::soak {

enum class EventKind { Stop, Enable, RelayPause, Burst, MapChange, EngineFault };
inline constexpr std::size_t kEventKinds = 6;

auto event_name(EventKind kind) -> std::string_view;

struct SoakEvent {
    EventKind kind = EventKind::Stop;
    int client = 0;           // 0: CLIENT_A, 1: CLIENT_B (the relay's events concern both)
    double waitSeconds = 0.0; // after the previous event
    double holdSeconds = 0.0; // until it is undone (marker removed, relay resumed, burst over, fault cleared)
    std::string detail;       // the map's name, or the fault as OP=MODE
};

class EventPlan {
public:
    explicit EventPlan(uint64_t seed)
        : m_random(seed) {}

    auto next() -> SoakEvent;

private:
    auto uniform(double from, double to) -> double;
    auto pick(std::size_t count) -> std::size_t;

    std::mt19937_64 m_random;
    uint64_t m_maps = 0;
};

} // namespace korvath::soak
