#include "tools/session/link/relay_link.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/remote_player_row.hpp"

namespace korvath::session_tool {

auto read_relay_source(const RelayLink& link, std::filesystem::file_time_type now) -> RelaySource {
    const auto source = exchange_dir_of(link.fromGameDir) / kLocalStateFile;
    const auto age = file_age(source, now);
    if (!age)
        return {std::nullopt, {}, RelayOutcome::Missing};
    if (*age > kLocalStateMaxAge)
        return {std::nullopt, {}, RelayOutcome::Stale};
    return read_relay_file(link, *age);
}

auto read_relay_file(const RelayLink& link, std::filesystem::file_time_type::duration age) -> RelaySource {
    const auto source = exchange_dir_of(link.fromGameDir) / kLocalStateFile;
    // A local state is one short line, read as often as the tracker writes it: a huge file is refused
    // after its first kLargestLocalState bytes.
    const auto content = read_whole_file(source, kLargestLocalState);
    if (!content)
        return {std::nullopt, {}, RelayOutcome::Missing};
    if (content->size() > kLargestLocalState)
        return {std::nullopt, {}, RelayOutcome::Invalid};
    auto sample = parse_local_state_sample(*content);
    if (!sample)
        return {std::nullopt, {}, RelayOutcome::Invalid};
    return {std::move(sample), age, RelayOutcome::Relayed};
}

auto write_relay_row(const RelayLink& link, const PlayerPose& pose) -> RelayOutcome {
    const auto row = format_remote_player_row(link.playerId, link.displayName, pose);
    if (!write_file_atomically(exchange_dir_of(link.toGameDir) / kRemotePlayersFile, row))
        return RelayOutcome::WriteFailed;
    return RelayOutcome::Relayed;
}

auto relay_local_state(const RelayLink& link, std::filesystem::file_time_type now) -> RelayOutcome {
    const RelaySource source = read_relay_source(link, now);
    return source.sample ? write_relay_row(link, source.sample->pose) : source.outcome;
}

auto describe(RelayOutcome outcome) -> std::string_view {
    switch (outcome) {
    case RelayOutcome::Relayed:
        return "relaying the local state";
    case RelayOutcome::Missing:
        return "no local_state.tsv; not writing";
    case RelayOutcome::Stale:
        return "local_state.tsv older than 3 s; not writing";
    case RelayOutcome::Invalid:
        return "local_state.tsv has no valid first line; not writing";
    case RelayOutcome::WriteFailed:
        return "cannot write remote_players.tsv";
    }
    return "unknown";
}

auto relay_links(const std::filesystem::path& gameDirA, const std::filesystem::path& gameDirB)
    -> std::array<RelayLink, 2> {
    return {{
        {gameDirA, gameDirB, "player-a", "KESTREN CLIENT A"},
        {gameDirB, gameDirA, "player-b", "KESTREN CLIENT B"},
    }};
}

} // namespace korvath::session_tool
