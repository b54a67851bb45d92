#pragma once
// One direction of the relay: a client's own pose, from its local_state.tsv, becomes the remote
// player in the other client's remote_players.tsv.

#include "tools/session/exchange/local_state_sample.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

// A local state last written longer ago than this is no longer relayed (the mod's own limit).
inline constexpr std::chrono::seconds kLocalStateMaxAge{3};
// A local_state.tsv larger than this is not read (its one row is some 60 bytes).
inline constexpr std::size_t kLargestLocalState = 64 * 1024;

struct RelayLink {
    std::filesystem::path fromGameDir; // whose local_state.tsv is read
    std::filesystem::path toGameDir;   // whose remote_players.tsv is written
    std::string playerId;              // the row's identity of the reading side
    std::string displayName;
};

enum class RelayOutcome { Relayed, Missing, Stale, Invalid, WriteFailed };

// Writes the row when the local state is fresh at `now` (file clock) and its first line is valid;
// otherwise leaves remote_players.tsv as it is, so the mod there sees it go stale.
auto relay_local_state(const RelayLink& link, std::filesystem::file_time_type now) -> RelayOutcome;

// The two halves of relay_local_state. The read gives the sample and its file's age, or the outcome
// that stops the relay of this direction.
struct RelaySource {
    std::optional<LocalStateSample> sample;
    std::filesystem::file_time_type::duration age{};
    RelayOutcome outcome = RelayOutcome::Relayed;
};
auto read_relay_source(const RelayLink& link, std::filesystem::file_time_type now) -> RelaySource;
// The read of a file last written `age` ago, within the age limit.
auto read_relay_file(const RelayLink& link, std::filesystem::file_time_type::duration age) -> RelaySource;
auto write_relay_row(const RelayLink& link, const PlayerPose& pose) -> RelayOutcome;

// The two directions between client A and client B: A's pose to B first, then B's pose to A.
auto relay_links(const std::filesystem::path& gameDirA, const std::filesystem::path& gameDirB)
    -> std::array<RelayLink, 2>;

// A short phrase for the relay's log.
auto describe(RelayOutcome outcome) -> std::string_view;

} // namespace korvath::session_tool
