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
    // Throws ModLoadError when the library or one of its entry points cannot be found. The library is
    // never unloaded: a ProcessEvent callback it registered may point into it for the rest of the process.
    static auto load(const std::filesystem::path& library) -> LoadedMod;

    auto start() const -> RC::CppUserModBase* { return m_start(); }
    auto uninstall(RC::CppUserModBase* mod) const -> void { m_uninstall(mod); }

private:
    using StartFn = RC::CppUserModBase* (*)();
    using UninstallFn = void (*)(RC::CppUserModBase*);
    StartFn m_start{};
    UninstallFn m_uninstall{};
};

} // namespace standin
