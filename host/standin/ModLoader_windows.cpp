#include "ModLoader.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace standin {

auto LoadedMod::load(const std::filesystem::path& library) -> LoadedMod {
    // The library's own folder is searched for the DLLs it imports, as the host loads its mods.
    const std::filesystem::path absolute = std::filesystem::absolute(library);
    const HMODULE handle = LoadLibraryExW(
        absolute.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (!handle)
        throw ModLoadError("cannot load mod library " + library.string() + ": error " +
                           std::to_string(GetLastError()));
    LoadedMod mod;
    mod.m_handle = handle;
    mod.m_path = library;
    mod.m_start = reinterpret_cast<StartFn>(reinterpret_cast<void*>(GetProcAddress(handle, "start_mod")));
    mod.m_uninstall =
        reinterpret_cast<UninstallFn>(reinterpret_cast<void*>(GetProcAddress(handle, "uninstall_mod")));
    if (!mod.m_start || !mod.m_uninstall)
        throw ModLoadError("mod library " + library.string() + " lacks start_mod or uninstall_mod");
    return mod;
}

auto LoadedMod::free_library() -> void {
    if (m_handle)
        FreeLibrary(static_cast<HMODULE>(m_handle));
    m_handle = nullptr;
    m_start = nullptr;
    m_uninstall = nullptr;
}

} // namespace standin
