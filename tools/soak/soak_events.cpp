#include "tools/soak/soak_events.hpp"

namespace korvath::soak {

namespace {

// Engine operations the session uses after start-up, and the ways they can fail. The relocation of
// CLIENT_B happens once at start-up, before the first event.
constexpr std::array<std::string_view, 10> kFaultOps{
    "controller", "class", "world", "spawn", "move", "destroy", "hidden", "collision", "tick", "fullname"};
constexpr std::array<std::string_view, 4> kFaultModes{"missing", "false", "throw", "throw-unknown"};

} // namespace

auto event_name(EventKind kind) -> std::string_view {
    constexpr std::array<std::string_view, kEventKinds> kNames{
        "stop marker", "enable marker toggle", "relay pause", "rewrite burst", "map change", "engine fault"};
    return kNames[static_cast<std::size_t>(kind)];
}

auto EventPlan::uniform(double from, double to) -> double {
    return std::uniform_real_distribution<double>(from, to)(m_random);
}

auto EventPlan::pick(std::size_t count) -> std::size_t {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
}

auto EventPlan::next() -> SoakEvent {
    SoakEvent event;
    event.kind = static_cast<EventKind>(pick(kEventKinds));
    event.client = static_cast<int>(pick(2));
    event.waitSeconds = uniform(2.0, 6.0);
    switch (event.kind) {
    case EventKind::Stop:
        event.holdSeconds = uniform(1.0, 4.0);
        break;
    case EventKind::Enable:
        break;
    case EventKind::RelayPause:
        event.holdSeconds = uniform(2.5, 7.0); // past the 2 s stale limit, often past the 3 s destroy wait
        break;
    case EventKind::Burst:
        event.holdSeconds = uniform(0.5, 2.0);
        break;
    case EventKind::MapChange:
        event.detail = "Map_" + std::to_string(++m_maps % 4);
        break;
    case EventKind::EngineFault:
        event.holdSeconds = uniform(0.5, 3.0);
        event.detail = std::string(kFaultOps[pick(kFaultOps.size())]) + "=" +
                       std::string(kFaultModes[pick(kFaultModes.size())]);
        break;
    }
    return event;
}

} // namespace korvath::soak
