#pragma once
// Base class of a native mod, as the mod host declares it. The host creates the mod through the
// exported start_mod, calls these virtual hooks, and deletes it through uninstall_mod. The hooks that
// take the host's Lua states are left out: no mod of this project uses them.

#include <string>
#include <string_view>

namespace RC {

class CppUserModBase {
public:
    std::wstring ModName{};
    std::wstring ModVersion{};
    std::wstring ModDescription{};
    std::wstring ModAuthors{};
    std::wstring ModIntendedSDKVersion{};

    CppUserModBase();
    virtual ~CppUserModBase();

    // Called over and over on the host's update thread.
    virtual auto on_update() -> void {}
    // Called once the engine has been initialised (not on the game thread).
    virtual auto on_unreal_init() -> void {}
    virtual auto on_ui_init() -> void {}
    virtual auto on_program_start() -> void {}
    virtual auto on_dll_load(std::wstring_view dll_name) -> void { static_cast<void>(dll_name); }
    virtual auto render_tab() -> void {}
};

} // namespace RC
