#include "tools/tracker/tracker_host.hpp"

#include <lua.hpp>

#include <stdexcept>

namespace korvath::tracker {

namespace {

auto pop_error(lua_State* lua, const std::string& what) -> std::runtime_error {
    const char* message = lua_tostring(lua, -1);
    std::runtime_error error(what + ": " + (message ? message : "(no message)"));
    lua_pop(lua, 1);
    return error;
}

} // namespace

auto standin_script() -> std::filesystem::path {
    return std::filesystem::path(KORVATH_TRACKER_DIR) / "host_standin.lua";
}

auto tracker_script() -> std::filesystem::path {
    return std::filesystem::path(KORVATH_TRACKER_DIR) / "main.lua";
}

TrackerHost::TrackerHost(const std::filesystem::path& script, const HostSettings& settings, PoseSource pose)
    : m_lua(luaL_newstate())
    , m_pose(std::move(pose)) {
    if (m_lua == nullptr)
        throw std::runtime_error("cannot create a Lua state");
    try {
        luaL_openlibs(m_lua);
        if (luaL_dofile(m_lua, standin_script().string().c_str()) != LUA_OK)
            throw pop_error(m_lua, "cannot load the host stand-in");
        lua_getfield(m_lua, -1, "new");
        lua_createtable(m_lua, 0, 6);
        const auto set_string = [&](const char* key, const std::string& value) {
            lua_pushstring(m_lua, value.c_str());
            lua_setfield(m_lua, -2, key);
        };
        set_string("map", settings.mapName);
        if (!settings.gameDir.empty())
            set_string("gameDir", settings.gameDir.string());
        set_string("codePage", settings.utf8CodePage ? "utf8" : "ascii");
        if (settings.frameMs) {
            lua_pushnumber(m_lua, *settings.frameMs);
            lua_setfield(m_lua, -2, "frameMs");
        }
        lua_pushboolean(m_lua, settings.echo);
        lua_setfield(m_lua, -2, "echo");
        lua_pushboolean(m_lua, settings.callerFrames);
        lua_setfield(m_lua, -2, "callerFrames");
        lua_pushlightuserdata(m_lua, this);
        lua_pushcclosure(m_lua, &TrackerHost::pose_callback, 1);
        lua_setfield(m_lua, -2, "pose");
        if (lua_pcall(m_lua, 1, 1, 0) != LUA_OK)
            throw pop_error(m_lua, "cannot start the host stand-in");
        m_host = luaL_ref(m_lua, LUA_REGISTRYINDEX);
        lua_pop(m_lua, 1); // the stand-in's module table
        call("install", [] { return 0; });
        const std::string scriptText = script.string();
        call("run_mod", [&] {
            lua_pushstring(m_lua, scriptText.c_str());
            return 1;
        });
    } catch (...) {
        lua_close(m_lua);
        throw;
    }
}

TrackerHost::~TrackerHost() {
    lua_close(m_lua);
}

auto TrackerHost::advance_to(int64_t ms) -> void {
    call("advance_to", [&] {
        lua_pushinteger(m_lua, static_cast<lua_Integer>(ms));
        return 1;
    });
}

auto TrackerHost::load_map(const std::string& mapName) -> void {
    call("load_map", [&] {
        lua_pushstring(m_lua, mapName.c_str());
        return 1;
    });
}

auto TrackerHost::errors() -> std::vector<std::string> {
    return string_list("errors");
}

auto TrackerHost::console() -> std::vector<std::string> {
    return string_list("console");
}

auto TrackerHost::press_key(const std::string& key, const std::vector<std::string>& modifiers) -> int {
    call(
        "press_key",
        [&] {
            lua_pushstring(m_lua, key.c_str());
            lua_createtable(m_lua, static_cast<int>(modifiers.size()), 0);
            for (std::size_t i = 0; i < modifiers.size(); ++i) {
                lua_pushstring(m_lua, modifiers[i].c_str());
                lua_rawseti(m_lua, -2, static_cast<lua_Integer>(i + 1));
            }
            return 2;
        },
        1);
    const auto ran = static_cast<int>(lua_tointeger(m_lua, -1));
    lua_pop(m_lua, 1);
    return ran;
}

auto TrackerHost::string_list(const char* name) -> std::vector<std::string> {
    std::vector<std::string> out;
    lua_rawgeti(m_lua, LUA_REGISTRYINDEX, m_host);
    lua_getfield(m_lua, -1, name);
    const lua_Integer count = luaL_len(m_lua, -1);
    for (lua_Integer i = 1; i <= count; ++i) {
        lua_rawgeti(m_lua, -1, i);
        const char* text = lua_tostring(m_lua, -1);
        out.emplace_back(text ? text : "");
        lua_pop(m_lua, 1);
    }
    lua_pop(m_lua, 2);
    return out;
}

auto TrackerHost::call(const char* name, const std::function<int()>& push_arguments, int results) -> void {
    lua_rawgeti(m_lua, LUA_REGISTRYINDEX, m_host);
    lua_getfield(m_lua, -1, name);
    lua_insert(m_lua, -2); // the method below its host object, which is its first argument
    const int arguments = push_arguments();
    if (lua_pcall(m_lua, 1 + arguments, results, 0) != LUA_OK)
        throw pop_error(m_lua, std::string("host stand-in ") + name);
}

// The stand-in's pose source: x, y, z and yaw, or nothing while there is no pawn. No C++ exception
// may cross the interpreter, so a failing source counts as no pawn.
auto TrackerHost::pose_callback(lua_State* lua) -> int {
    auto* self = static_cast<TrackerHost*>(lua_touserdata(lua, lua_upvalueindex(1)));
    std::optional<TrackedPose> pose;
    try {
        pose = self->m_pose();
    } catch (...) {
        pose.reset();
    }
    if (!pose)
        return 0;
    for (const double value : {pose->x, pose->y, pose->z, pose->yaw})
        lua_pushnumber(lua, value);
    return 4;
}

} // namespace korvath::tracker
