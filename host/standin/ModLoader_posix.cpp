#include "ModLoader.hpp"

#include <dlfcn.h>

namespace standin {

auto LoadedMod::load(const std::filesystem::path& library) -> LoadedMod {
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        throw ModLoadError("cannot load mod library " + library.string() + ": " + dlerror());
    LoadedMod mod;
    mod.m_handle = handle;
    mod.m_path = library;
    mod.m_start = reinterpret_cast<StartFn>(dlsym(handle, "start_mod"));
    mod.m_uninstall = reinterpret_cast<UninstallFn>(dlsym(handle, "uninstall_mod"));
    if (!mod.m_start || !mod.m_uninstall)
        throw ModLoadError("mod library " + library.string() + " lacks start_mod or uninstall_mod");
    return mod;
}

auto LoadedMod::free_library() -> void {
    if (m_handle)
        dlclose(m_handle);
    m_handle = nullptr;
    m_start = nullptr;
    m_uninstall = nullptr;
}

} // namespace standin
