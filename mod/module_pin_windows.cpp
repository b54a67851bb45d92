#include "mod/module_pin.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace korvath {

auto pin_module_in_memory() -> void {
    HMODULE module = nullptr;
    // A pinned module stays loaded until the process ends, whatever FreeLibrary calls follow.
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&pin_module_in_memory)), &module);
}

} // namespace korvath
