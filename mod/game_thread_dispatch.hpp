#pragma once

namespace RC::Unreal {
class UObject;
class UFunction;
} // namespace RC::Unreal

namespace korvath {

// ProcessEvent pre-callback, game thread: takes the pending command, if any, and runs it to its end.
// With nothing pending it costs one atomic load: no lock, no allocation, no engine or file call.
// Depends only on process-wide state, so it may outlive the mod object.
auto on_game_thread_process_event(RC::Unreal::UObject* object, RC::Unreal::UFunction* function,
                                  void* parameters) -> void;

// The reason handed to destroy_proxy, read when the command is taken.
auto destroy_reason() -> const char*;

} // namespace korvath
