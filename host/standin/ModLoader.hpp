#pragma once
// Loads a mod library the way the host does: by path, then through its two exported entry points.

#include "Mod/CppUserModBase.hpp"

#include <filesystem>
#include <stdexcept>

namespace standin {

class ModLoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class LoadedMod {
public:
    // Throws ModLoadError when the library or one of its entry points cannot be found.
    static auto load(const std::filesystem::path& library) -> LoadedMod;

    auto start() const -> RC::CppUserModBase* { return m_start(); }
    auto uninstall(RC::CppUserModBase* mod) const -> void { m_uninstall(mod); }
    // Gives back this load's reference to the library, as the host does right after uninstall_mod (on a
    // hot reload, or when it uninstalls all mods). Whatever the library registered may then point into
    // freed code unless the library keeps itself loaded. The entry points are unusable afterwards.
    auto free_library() -> void;
    auto path() const -> const std::filesystem::path& { return m_path; }

private:
    using StartFn = RC::CppUserModBase* (*)();
    using UninstallFn = void (*)(RC::CppUserModBase*);
    StartFn m_start{};
    UninstallFn m_uninstall{};
    void* m_handle{};
    std::filesystem::path m_path;
};

} // namespace standin
