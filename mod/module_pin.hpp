#pragma once

namespace korvath {

// Keeps this library mapped for the rest of the process. The host frees a mod's library after
// uninstall_mod, but the ProcessEvent callback stays registered and points into it, so the library
// must outlive any unload. Called once, before the callback is registered; failure is not fatal.
auto pin_module_in_memory() -> void;

} // namespace korvath
