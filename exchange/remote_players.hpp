#pragma once
// remote_players.tsv: the other client's player, kept up to date by the outside process.

#include "mod/session_state.hpp"

#include <string_view>

namespace korvath {

// Fills `out` with the first row that parses in a remote_players.tsv written at most 2 seconds
// ago and returns true; otherwise returns false and leaves `out` untouched (but for running out of
// memory while filling it). Reuses the storage of `out`'s strings. Update thread.
auto read_remote_players(RemotePlayerState& out) -> bool;

// One line (its CR already dropped) into `row`; false, with `row` untouched, when it is no row.
auto parse_remote_player_row(std::string_view line, RemotePlayerState& row) -> bool;

} // namespace korvath
