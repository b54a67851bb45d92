#pragma once
// The mod's base class over the host's. The host's update and engine-ready hooks are named on_update
// and on_unreal_init; they forward to the mod's on_host_tick and on_unreal_ready.

#include <Mod/CppUserModBase.hpp>

namespace korvath {

class ModBase : public RC::CppUserModBase {
public:
    // Host's update thread.
    virtual auto on_host_tick() -> void {}
    // Host's engine-ready thread.
    virtual auto on_unreal_ready() -> void {}

    auto on_update() -> void override { on_host_tick(); }
    auto on_unreal_init() -> void override { on_unreal_ready(); }
};

} // namespace korvath
