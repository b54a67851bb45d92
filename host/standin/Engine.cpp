#include "Engine.hpp"

#include "Unreal/UnrealVersion.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace standin {

namespace {

constexpr std::string_view kOpNames[kOpCount] = {"controller", "class",     "world", "spawn",
                                                 "move",       "destroy",   "pawn",  "relocate",
                                                 "hidden",     "collision", "tick",  "fullname"};

auto uses_doubles() -> bool {
    return RC::Unreal::Version::Major >= 5;
}

auto decode_vector(const RC::Unreal::FVector& v) -> std::array<double, 3> {
    std::array<double, 3> out{};
    if (uses_doubles()) {
        std::memcpy(out.data(), v.Bytes, sizeof(double) * 3);
    } else {
        float f[3];
        std::memcpy(f, v.Bytes, sizeof f);
        for (int i = 0; i < 3; ++i)
            out[static_cast<std::size_t>(i)] = static_cast<double>(f[i]);
    }
    return out;
}

auto narrow(std::wstring_view text) -> std::string {
    std::string out;
    for (wchar_t c : text)
        out.push_back(static_cast<unsigned>(c) < 0x80 ? static_cast<char>(c) : '?');
    return out;
}

} // namespace

auto op_name(Op op) -> std::string_view {
    return kOpNames[static_cast<std::size_t>(op)];
}

auto parse_op(std::string_view text) -> std::optional<Op> {
    for (std::size_t i = 0; i < kOpCount; ++i)
        if (kOpNames[i] == text)
            return static_cast<Op>(i);
    return std::nullopt;
}

auto parse_fault_mode(std::string_view text) -> std::optional<FaultMode> {
    if (text == "missing")
        return FaultMode::Missing;
    if (text == "false")
        return FaultMode::False;
    if (text == "throw")
        return FaultMode::Throw;
    if (text == "throw-unknown")
        return FaultMode::ThrowUnknown;
    return std::nullopt;
}

auto Engine::instance() -> Engine& {
    static Engine engine;
    return engine;
}

auto Engine::reset() -> void {
    std::lock_guard lock(m_mutex);
    m_objects.clear();
    for (auto& fault : m_faults)
        fault = Fault{};
    for (auto& count : m_calls)
        count = 0;
    m_journal.clear();
    m_keepJournal = true;
    for (auto& callback : m_callbacks)
        callback = nullptr;
    m_callbackCount.store(0);
    m_gameThread.store(std::thread::id{});
    RC::Unreal::Version::Major = 5;
    RC::Unreal::Version::Minor = 1;
}

auto Engine::set_version(int32_t major, int32_t minor) -> void {
    RC::Unreal::Version::Major = major;
    RC::Unreal::Version::Minor = minor;
}

template <typename T>
auto Engine::make_object(std::wstring name, std::wstring path, UClass* cls) -> T* {
    auto object = std::make_unique<T>();
    object->m_name = std::move(name);
    object->m_path = std::move(path);
    object->m_class = cls;
    object->m_index = static_cast<int32_t>(m_objects.size());
    object->m_serial = m_nextSerial++;
    T* raw = object.get();
    m_objects.push_back(std::move(object));
    return raw;
}

auto Engine::add_class(std::wstring shortName, std::wstring path) -> UClass* {
    std::lock_guard lock(m_mutex);
    return make_object<UClass>(std::move(shortName), std::move(path), nullptr);
}

auto Engine::add_world(std::wstring name) -> UWorld* {
    std::lock_guard lock(m_mutex);
    std::wstring path = L"/Game/Maps/" + name + L"." + name;
    return make_object<UWorld>(std::move(name), std::move(path), nullptr);
}

auto Engine::add_actor(UWorld* world, UClass* cls, std::wstring name, const Pose& pose) -> AActor* {
    std::lock_guard lock(m_mutex);
    std::wstring path = (world ? world->m_path : std::wstring(L"/Transient")) + L":PersistentLevel." + name;
    auto* actor = make_object<AActor>(std::move(name), std::move(path), cls);
    actor->m_world = world;
    actor->m_location[0] = pose.x, actor->m_location[1] = pose.y, actor->m_location[2] = pose.z;
    actor->m_rotation[0] = pose.pitch, actor->m_rotation[1] = pose.yaw, actor->m_rotation[2] = pose.roll;
    return actor;
}

auto Engine::populate_game_world(const Pose& pawnPose, std::wstring mapName) -> GameWorld {
    GameWorld game;
    game.world = add_world(std::move(mapName));
    game.controllerClass =
        add_class(kControllerClass, L"/Game/Blueprints/BP_PlayerController.BP_PlayerController_C");
    game.characterClass = add_class(kCharacterClass, kCharacterClassPath);
    game.controller = add_actor(game.world, game.controllerClass, L"BP_PlayerController_C_0", Pose{});
    game.pawn = add_actor(game.world, game.characterClass, L"BP_PlayerCharacter_C_0", pawnPose);
    return game;
}

auto Engine::change_map(const GameWorld& old, std::wstring mapName) -> GameWorld {
    const Pose pawnPose = inspect(old.pawn).pose;
    tear_down_world(old.world);
    GameWorld game = old;
    game.world = add_world(std::move(mapName));
    game.controller = add_actor(game.world, game.controllerClass, L"BP_PlayerController_C_0", Pose{});
    game.pawn = add_actor(game.world, game.characterClass, L"BP_PlayerCharacter_C_0", pawnPose);
    return game;
}

auto Engine::tear_down_world(UWorld* world) -> void {
    std::lock_guard lock(m_mutex);
    for (auto& object : m_objects)
        if (auto* actor = dynamic_cast<AActor*>(object.get()); actor && actor->m_world == world)
            actor->m_alive = false;
}

auto Engine::destroy_actor(AActor* actor) -> void {
    std::lock_guard lock(m_mutex);
    actor->m_alive = false;
}

auto Engine::move_actor(AActor* actor, const Pose& pose) -> void {
    std::lock_guard lock(m_mutex);
    actor->m_location[0] = pose.x, actor->m_location[1] = pose.y, actor->m_location[2] = pose.z;
    actor->m_rotation[0] = pose.pitch, actor->m_rotation[1] = pose.yaw, actor->m_rotation[2] = pose.roll;
}

auto Engine::set_fault(Op op, Fault fault) -> void {
    std::lock_guard lock(m_mutex);
    m_faults[static_cast<std::size_t>(op)] = fault;
}

auto Engine::clear_faults() -> void {
    std::lock_guard lock(m_mutex);
    for (auto& fault : m_faults)
        fault = Fault{};
}

auto Engine::calls(Op op) const -> uint64_t {
    std::lock_guard lock(m_mutex);
    return m_calls[static_cast<std::size_t>(op)];
}

auto Engine::inspect(const AActor* actor) const -> ActorState {
    std::lock_guard lock(m_mutex);
    ActorState state;
    state.name = actor->m_name;
    state.fullName = full_name_locked(actor);
    state.className = actor->m_class ? actor->m_class->m_name : L"";
    state.world = actor->m_world;
    state.pose = Pose{actor->m_location[0], actor->m_location[1], actor->m_location[2],
                      actor->m_rotation[0], actor->m_rotation[1], actor->m_rotation[2]};
    state.hidden = actor->m_hidden;
    state.collision = actor->m_collision;
    state.tick = actor->m_tick;
    state.alive = actor->m_alive;
    state.spawned = actor->m_spawned;
    return state;
}

auto Engine::actors() const -> std::vector<AActor*> {
    std::lock_guard lock(m_mutex);
    std::vector<AActor*> out;
    for (auto& object : m_objects)
        if (auto* actor = dynamic_cast<AActor*>(object.get()))
            out.push_back(actor);
    return out;
}

auto Engine::spawned_actors() const -> std::vector<AActor*> {
    std::lock_guard lock(m_mutex);
    std::vector<AActor*> out;
    for (auto& object : m_objects)
        if (auto* actor = dynamic_cast<AActor*>(object.get()); actor && actor->m_spawned)
            out.push_back(actor);
    return out;
}

auto Engine::journal() const -> std::vector<std::string> {
    std::lock_guard lock(m_mutex);
    return m_journal;
}

auto Engine::keep_journal(bool keep) -> void {
    std::lock_guard lock(m_mutex);
    m_keepJournal = keep;
}

auto Engine::declare_game_thread() -> void {
    m_gameThread.store(std::this_thread::get_id());
}

auto Engine::forget_game_thread() -> void {
    m_gameThread.store(std::thread::id{});
}

auto Engine::check_thread() const -> void {
    const std::thread::id gameThread = m_gameThread.load();
    if (gameThread != std::thread::id{} && gameThread != std::this_thread::get_id()) {
        std::fputs("standin: an engine object was touched off the game thread\n", stderr);
        std::abort();
    }
}

auto Engine::enter(Op op, std::string journalEntry) -> FaultMode {
    check_thread();
    FaultMode mode = FaultMode::None;
    {
        std::lock_guard lock(m_mutex);
        const auto i = static_cast<std::size_t>(op);
        const uint64_t call = ++m_calls[i];
        if (m_keepJournal)
            m_journal.push_back(std::move(journalEntry));
        if (m_faults[i].mode != FaultMode::None && call >= m_faults[i].fromCall)
            mode = m_faults[i].mode;
    }
    if (mode == FaultMode::Throw)
        throw std::runtime_error("simulated " + std::string(op_name(op)) + " failure");
    if (mode == FaultMode::ThrowUnknown)
        throw UnknownEngineError{static_cast<int>(op)};
    return mode;
}

auto Engine::process_event(UObject* context, UFunction* function, void* parms) -> void {
    const std::size_t count = m_callbackCount.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i)
        m_callbacks[i](context, function, parms);
}

auto Engine::callback_count() const -> std::size_t {
    return m_callbackCount.load(std::memory_order_acquire);
}

auto Engine::register_pre_callback(const RC::Unreal::Hook::ProcessEventCallback& callback) -> void {
    std::lock_guard lock(m_mutex);
    const std::size_t index = m_callbackCount.load(std::memory_order_relaxed);
    if (index == kMaxCallbacks)
        throw std::length_error("standin: too many ProcessEvent callbacks");
    m_callbacks[index] = callback;
    m_callbackCount.store(index + 1, std::memory_order_release);
}

auto Engine::find_first_of(std::wstring_view className) -> UObject* {
    const Op op = className == kControllerClass ? Op::Controller : Op::Pawn;
    if (enter(op, "FindFirstOf(" + narrow(className) + ")") != FaultMode::None)
        return nullptr;
    std::lock_guard lock(m_mutex);
    for (auto& object : m_objects) {
        auto* actor = dynamic_cast<AActor*>(object.get());
        if (actor && actor->m_alive && actor->m_class && actor->m_class->m_name == className)
            return actor;
    }
    return nullptr;
}

auto Engine::find_object(std::wstring_view path) -> UObject* {
    if (enter(Op::Class, "FindObject(" + narrow(path) + ")") != FaultMode::None)
        return nullptr;
    std::lock_guard lock(m_mutex);
    for (auto& object : m_objects)
        if (object->m_path == path)
            return object.get();
    return nullptr;
}

auto Engine::world_of(const AActor* actor) -> UWorld* {
    if (enter(Op::World, "GetWorld") != FaultMode::None)
        return nullptr;
    std::lock_guard lock(m_mutex);
    return actor->m_world;
}

auto Engine::spawn(UWorld* world, UClass* cls, const RC::Unreal::FVector* location,
                   const RC::Unreal::FRotator* rotation) -> AActor* {
    if (enter(Op::Spawn, "SpawnActor") != FaultMode::None)
        return nullptr;
    Pose pose;
    if (location) {
        const auto v = decode_vector(*location);
        pose.x = v[0], pose.y = v[1], pose.z = v[2];
    }
    if (rotation)
        pose.pitch = rotation->GetPitch(), pose.yaw = rotation->GetYaw(), pose.roll = rotation->GetRoll();
    uint64_t serial;
    {
        std::lock_guard lock(m_mutex);
        serial = static_cast<uint64_t>(m_nextSerial);
    }
    AActor* actor = add_actor(
        world, cls,
        (cls ? cls->GetName() : std::wstring(L"Actor")) + L"_" + std::to_wstring(2147480000 + serial), pose);
    {
        std::lock_guard lock(m_mutex);
        actor->m_spawned = true;
    }
    // The new actor's construction and BeginPlay events run through ProcessEvent before SpawnActor returns.
    process_event(actor);
    return actor;
}

auto Engine::move(AActor* actor, const RC::Unreal::FVector& location, const RC::Unreal::FRotator& rotation)
    -> bool {
    bool spawned;
    {
        std::lock_guard lock(m_mutex);
        spawned = actor->m_spawned;
    }
    if (enter(spawned ? Op::Move : Op::Relocate, "K2_SetActorLocationAndRotation") != FaultMode::None)
        return false;
    process_event(actor);
    const auto v = decode_vector(location);
    std::lock_guard lock(m_mutex);
    if (!actor->m_alive)
        return false;
    actor->m_location[0] = v[0], actor->m_location[1] = v[1], actor->m_location[2] = v[2];
    actor->m_rotation[0] = rotation.GetPitch(), actor->m_rotation[1] = rotation.GetYaw(),
    actor->m_rotation[2] = rotation.GetRoll();
    return true;
}

auto Engine::set_flag(AActor* actor, Op op, bool value) -> void {
    static constexpr const char* kNames[] = {"SetActorHiddenInGame", "SetActorEnableCollision",
                                             "SetActorTickEnabled"};
    const auto which = static_cast<std::size_t>(op) - static_cast<std::size_t>(Op::Hidden);
    if (enter(op, std::string(kNames[which]) + (value ? "(1)" : "(0)")) != FaultMode::None)
        return;
    process_event(actor);
    std::lock_guard lock(m_mutex);
    if (op == Op::Hidden)
        actor->m_hidden = value;
    else if (op == Op::Collision)
        actor->m_collision = value;
    else
        actor->m_tick = value;
}

auto Engine::destroy(AActor* actor) -> void {
    if (enter(Op::Destroy, "K2_DestroyActor") != FaultMode::None)
        return;
    process_event(actor);
    std::lock_guard lock(m_mutex);
    actor->m_alive = false;
}

auto Engine::full_name(const UObject* object) -> std::wstring {
    if (enter(Op::FullName, "GetFullName") != FaultMode::None)
        return {};
    std::lock_guard lock(m_mutex);
    return full_name_locked(object);
}

auto Engine::full_name_locked(const UObject* object) const -> std::wstring {
    const std::wstring cls = object->m_class ? object->m_class->m_name : std::wstring(L"Class");
    return cls + L" " + object->m_path;
}

auto Engine::resolve_weak(int32_t index, int32_t serial) const -> UObject* {
    std::lock_guard lock(m_mutex);
    if (index < 0 || static_cast<std::size_t>(index) >= m_objects.size())
        return nullptr;
    UObject* object = m_objects[static_cast<std::size_t>(index)].get();
    if (object->m_serial != serial)
        return nullptr;
    if (auto* actor = dynamic_cast<AActor*>(object); actor && !actor->m_alive)
        return nullptr;
    return object;
}

} // namespace standin
