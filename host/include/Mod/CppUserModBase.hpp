#pragma once
// Base class of a native mod, as the mod host declares it. The host creates the mod through the
// exported start_mod, calls these virtual hooks, and deletes it through uninstall_mod.

#include <string>
#include <string_view>
#include <vector>

namespace RC {

using StringType = std::wstring;
using StringViewType = std::wstring_view;

namespace LuaMadeSimple {
class Lua;
}

class CppUserModBase {
public:
    StringType ModName;
    StringType ModVersion;
    StringType ModDescription;
    StringType ModAuthors;
    StringType ModIntendedSDKVersion;

    CppUserModBase();
    CppUserModBase(const CppUserModBase&) = delete;
    CppUserModBase& operator=(const CppUserModBase&) = delete;

    // Slot order matters to the host: destructor, update, engine ready, then the rest.
    virtual ~CppUserModBase();
    // Called over and over on the host's update thread.
    virtual auto on_host_tick() -> void {}
    // Called once the engine has been initialised (not on the game thread).
    virtual auto on_unreal_ready() -> void {}
    virtual auto on_ui_init() -> void {}
    virtual auto on_program_start() -> void {}
    virtual auto on_lua_start(LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                              LuaMadeSimple::Lua*) -> void {}
    virtual auto on_lua_start(StringViewType, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                              LuaMadeSimple::Lua*) -> void {}
    virtual auto on_lua_start(LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                              std::vector<LuaMadeSimple::Lua*>&) -> void {}
    virtual auto on_lua_start(StringViewType, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                              std::vector<LuaMadeSimple::Lua*>&) -> void {}
    virtual auto on_lua_stop(LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                             LuaMadeSimple::Lua*) -> void {}
    virtual auto on_lua_stop(StringViewType, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                             LuaMadeSimple::Lua*) -> void {}
    virtual auto on_lua_stop(LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                             std::vector<LuaMadeSimple::Lua*>&) -> void {}
    virtual auto on_lua_stop(StringViewType, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&, LuaMadeSimple::Lua&,
                             std::vector<LuaMadeSimple::Lua*>&) -> void {}
    virtual auto on_dll_load(StringViewType) -> void {}
    virtual auto render_tab() -> void {}
    virtual auto on_cpp_mods_loaded() -> void {}
};

} // namespace RC
