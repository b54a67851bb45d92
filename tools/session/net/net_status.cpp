#include "tools/session/net/net_status.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace {

auto milliseconds_text(std::chrono::nanoseconds value) -> std::string {
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(value).count()) + " ms";
}

auto local_text(RelayOutcome outcome) -> std::string {
    switch (outcome) {
    case RelayOutcome::Relayed:
        return "sending";
    case RelayOutcome::Missing:
        return "no local_state.tsv";
    case RelayOutcome::Stale:
        return "local_state.tsv stale";
    case RelayOutcome::Invalid:
        return "local_state.tsv invalid";
    case RelayOutcome::WriteFailed:
        break;
    }
    return "not sending";
}

} // namespace

auto format_net_status(const NetStatus& status) -> std::string {
    std::string line;
    switch (status.state) {
    case PeerState::Connected:
        line = "peer " + status.peer.value_or("?");
        line += " | rtt " + (status.roundTrip ? milliseconds_text(*status.roundTrip) : std::string("?"));
        if (status.loss) {
            char text[32];
            std::snprintf(text, sizeof text, "%.1f%%", *status.loss * 100.0);
            line += std::string(" | loss ") + text;
        } else {
            line += " | loss ?";
        }
        line += status.poseAge ? " | pose " + milliseconds_text(*status.poseAge) + " ago" : " | no pose";
        if (status.desync) {
            char text[64];
            std::snprintf(text, sizeof text, " | desync %.1f avg, %.1f max", status.desync->mean,
                          status.desync->max);
            line += text;
        }
        break;
    case PeerState::Quit:
        line = "peer quit; " + status.waitingFor;
        break;
    case PeerState::Lost:
        line = "peer lost; " + status.waitingFor;
        break;
    case PeerState::Waiting:
        line = status.waitingFor;
        break;
    }
    line += " | " + local_text(status.local);
    if (status.rowsFailed > 0)
        line += " | cannot write remote_players.tsv";
    line += " | dropped:";
    for (std::size_t kind = 0; kind < kDropKinds; ++kind)
        line += std::string(kind == 0 ? " " : ", ") +
                std::string(drop_kind_name(static_cast<DropKind>(kind))) + " " +
                std::to_string(status.drops.counts[kind]);
    if (!status.note.empty())
        line += " | " + status.note;
    return line;
}

} // namespace korvath::session_tool
