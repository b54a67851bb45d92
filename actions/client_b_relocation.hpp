#pragma once

namespace korvath {

// RelocateClientB: moves CLIENT_B's own pawn 800 units aside of its reported pose, once. Game thread only.
auto relocate_client_b() -> void;

} // namespace korvath
