#pragma once
// local_state.tsv: this client's own pawn, kept up to date by the outside process.

#include "mod/session_state.hpp"

namespace korvath {

// local_state.tsv exists and was last written at most 3 seconds ago. Update thread.
auto is_local_state_fresh() -> bool;

// Fills `out` from the first line of a fresh local_state.tsv and returns true; on any failure
// returns false and leaves `out` untouched. Game thread (the CLIENT_B relocation).
auto read_local_state(LocalPlayerState& out) -> bool;

} // namespace korvath
