#include "mod/module_pin.hpp"

#include <dlfcn.h>

namespace korvath {

auto pin_module_in_memory() -> void {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&pin_module_in_memory), &info) == 0 || info.dli_fname == nullptr)
        return;
    // A reference that no dlclose gives back: RTLD_NODELETE keeps the object mapped once loaded.
    dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace korvath
