#pragma once
// Registers the mod's ProcessEvent pre-callback in the form the host offers. Hosts up to 3.x take a
// callable of (object, function, parameters); newer ones add the callback's iteration data first,
// options after, and return an id (the old form is deprecated there). KORVATH_UE4SS_CALLBACK_OPTIONS
// says which, from the host's Hooks.hpp. The callback is a plain function, so the wrapper captures
// nothing and stays valid for the life of the process.

#include <Unreal/Hooks.hpp>

namespace korvath {

using ProcessEventPreCallback = void (*)(RC::Unreal::UObject*, RC::Unreal::UFunction*, void*);

#if defined(KORVATH_UE4SS_CALLBACK_OPTIONS)
template <ProcessEventPreCallback Callback>
auto register_process_event_pre_callback() -> void {
    namespace Hook = RC::Unreal::Hook;
    Hook::RegisterProcessEventPreCallback(
        [](Hook::TCallbackIterationData<void>&, RC::Unreal::UObject* object, RC::Unreal::UFunction* function,
           void* parameters) { Callback(object, function, parameters); },
        Hook::FCallbackOptions{false, false, STR("KorvathOnlineCpp"), STR("ProxyDispatch")});
}
#else
template <ProcessEventPreCallback Callback>
auto register_process_event_pre_callback() -> void {
    RC::Unreal::Hook::RegisterProcessEventPreCallback(Callback);
}
#endif

} // namespace korvath
