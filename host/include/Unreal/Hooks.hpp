#pragma once

#include <functional>

namespace RC::Unreal {

class UObject;
class UFunction;

namespace Hook {
using ProcessEventCallback = std::function<void(UObject* Context, UFunction* Function, void* Parms)>;
// The callback runs on the game thread before every ProcessEvent call, for the rest of the process.
auto RegisterProcessEventPreCallback(ProcessEventCallback) -> void;
} // namespace Hook

} // namespace RC::Unreal
