#include "Engine.hpp"

#include "Reflection.hpp"

#include "Unreal/UnrealVersion.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <type_traits>

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
        std::memcpy(out.data(), v.Data, sizeof(double) * 3);
    } else {
        float f[3];
        std::memcpy(f, v.Data, sizeof f);
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
    m_items.clear();
    m_slotOfItem.clear();
    m_indexOf.clear();
    m_freeSlots.clear();
    m_serialOnSpawn = false;
    m_nextSerial = 1;
    m_spawnCount = 0;
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

namespace {

// An object with the memory of an engine object of its kind, so that, as in the engine, a freed object's
// memory goes back to objects of a similar size, not to any object at all.
template <typename T>
struct Sized : T {
    static constexpr std::size_t kBytes = std::is_same_v<T, UWorld>   ? 2048
                                          : std::is_same_v<T, AActor> ? 1024
                                          : std::is_same_v<T, UClass> ? 512
                                                                      : 256;
    unsigned char body[kBytes]{};
};

} // namespace

template <typename T>
auto Engine::make_object(std::wstring name, std::wstring path, UClass* cls) -> T* {
    auto object = std::make_shared<Sized<T>>();
    T* raw = object.get();
    Record entry;
    entry.object = std::move(object);
    entry.name = std::move(name);
    entry.path = std::move(path);
    entry.cls = cls;
    entry.isActor = std::is_base_of_v<AActor, T>;
    std::size_t slot = m_objects.size();
    if (m_freeSlots.empty()) {
        m_objects.push_back(std::move(entry));
    } else {
        slot = m_freeSlots.back();
        m_freeSlots.pop_back();
        m_objects[slot] = std::move(entry);
    }
    m_indexOf.emplace(raw, slot);
    return raw;
}

auto Engine::record(const UObject* object) -> Record& {
    return m_objects[m_indexOf.at(object)];
}

auto Engine::record(const UObject* object) const -> const Record& {
    return m_objects[m_indexOf.at(object)];
}

auto Engine::add_class(std::wstring shortName, std::wstring path, std::vector<std::wstring> parents)
    -> UClass* {
    std::lock_guard lock(m_mutex);
    auto* cls = make_object<UClass>(std::move(shortName), std::move(path), nullptr);
    record(cls).parents = std::move(parents);
    return cls;
}

auto Engine::add_default_object(UClass* cls) -> UObject* {
    std::lock_guard lock(m_mutex);
    const Record& clsEntry = record(cls);
    auto* object = make_object<UObject>(
        L"Default__" + clsEntry.name,
        clsEntry.path.substr(0, clsEntry.path.rfind(L'.') + 1) + L"Default__" + clsEntry.name, cls);
    record(object).isDefault = true;
    return object;
}

auto Engine::add_world(std::wstring name) -> UWorld* {
    std::lock_guard lock(m_mutex);
    std::wstring path = L"/Game/Maps/" + name + L"." + name;
    return make_object<UWorld>(std::move(name), std::move(path), nullptr);
}

auto Engine::add_actor(UWorld* world, UClass* cls, std::wstring name, const Pose& pose) -> AActor* {
    std::lock_guard lock(m_mutex);
    std::wstring path =
        (world ? record(world).path : std::wstring(L"/Transient")) + L":PersistentLevel." + name;
    auto* actor = make_object<AActor>(std::move(name), std::move(path), cls);
    Record& entry = record(actor);
    entry.world = world;
    entry.pose = pose;
    return actor;
}

auto Engine::populate_game_world(const Pose& pawnPose, std::wstring mapName) -> GameWorld {
    GameWorld game;
    game.world = add_world(std::move(mapName));
    game.controllerClass =
        add_class(kControllerClass, L"/Game/Blueprints/BP_PlayerController.BP_PlayerController_C",
                  {L"PlayerController", L"Controller", L"Actor"});
    game.characterClass = add_class(kCharacterClass, kCharacterClassPath, {L"Character", L"Pawn", L"Actor"});
    // Default objects come before any instance in the object array; lookups by class skip them.
    add_default_object(game.controllerClass);
    add_default_object(game.characterClass);
    game.controller = add_actor(game.world, game.controllerClass, L"BP_PlayerController_C_0", Pose{});
    game.pawn = add_actor(game.world, game.characterClass, L"BP_PlayerCharacter_C_0", pawnPose);
    return game;
}

auto Engine::change_map(const GameWorld& old, std::wstring mapName) -> GameWorld {
    const Pose pawnPose = inspect(old.pawn).pose;
    tear_down_world(old.world);
    // Loading a map collects the old world's objects before the new one's are made.
    collect_garbage();
    GameWorld game = old;
    game.world = add_world(std::move(mapName));
    game.controller = add_actor(game.world, game.controllerClass, L"BP_PlayerController_C_0", Pose{});
    game.pawn = add_actor(game.world, game.characterClass, L"BP_PlayerCharacter_C_0", pawnPose);
    return game;
}

auto Engine::tear_down_world(UWorld* world) -> void {
    std::lock_guard lock(m_mutex);
    for (auto& entry : m_objects)
        if (entry.object && ((entry.isActor && entry.world == world) || entry.object.get() == world))
            entry.alive = false;
}

auto Engine::destroy_actor(AActor* actor) -> void {
    std::lock_guard lock(m_mutex);
    record(actor).alive = false;
}

auto Engine::move_actor(AActor* actor, const Pose& pose) -> void {
    std::lock_guard lock(m_mutex);
    record(actor).pose = pose;
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
    if (!m_indexOf.contains(actor))
        return ActorState{}; // collected
    return inspect_locked(actor);
}

auto Engine::inspect_locked(const AActor* actor) const -> ActorState {
    const Record& entry = record(actor);
    ActorState state;
    state.name = entry.name;
    state.fullName = full_name_locked(actor);
    state.className = entry.cls ? record(entry.cls).name : L"";
    state.world = entry.world;
    state.pose = entry.pose;
    state.hidden = entry.hidden;
    state.collision = entry.collision;
    state.tick = entry.tick;
    state.alive = entry.alive;
    state.spawned = entry.spawned;
    return state;
}

auto Engine::actor_states() const -> std::vector<std::pair<AActor*, ActorState>> {
    std::lock_guard lock(m_mutex);
    std::vector<std::pair<AActor*, ActorState>> out;
    for (auto& entry : m_objects)
        if (entry.object && entry.isActor) {
            auto* actor = static_cast<AActor*>(entry.object.get());
            out.emplace_back(actor, inspect_locked(actor));
        }
    return out;
}

auto Engine::spawned_actors() const -> std::vector<AActor*> {
    std::lock_guard lock(m_mutex);
    std::vector<AActor*> out;
    for (auto& entry : m_objects)
        if (entry.object && entry.isActor && entry.spawned)
            out.push_back(static_cast<AActor*>(entry.object.get()));
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
    // As the host: the first object of exactly the class wins; without one, the last object that
    // matched through a parent class. Objects pending kill are not skipped.
    UObject* found = nullptr;
    for (auto& entry : m_objects) {
        if (!entry.object || !entry.cls || entry.isDefault)
            continue;
        const Record& cls = record(entry.cls);
        if (cls.name == className)
            return entry.object.get();
        for (const std::wstring& parent : cls.parents)
            if (parent == className)
                found = entry.object.get();
    }
    return found;
}

auto Engine::find_object(std::wstring_view path) -> UObject* {
    // The engine's own functions and structs are there from the start and never fail to be found.
    if (UObject* reflected = find_reflected(path))
        return reflected;
    if (enter(Op::Class, "FindObject(" + narrow(path) + ")") != FaultMode::None)
        return nullptr;
    std::lock_guard lock(m_mutex);
    for (auto& entry : m_objects)
        if (entry.object && entry.path == path)
            return entry.object.get();
    return nullptr;
}

auto Engine::world_of(const AActor* actor) -> UWorld* {
    if (enter(Op::World, "GetWorld") != FaultMode::None)
        return nullptr;
    std::lock_guard lock(m_mutex);
    return record(actor).world;
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
    uint64_t number;
    std::wstring className = L"Actor";
    {
        std::lock_guard lock(m_mutex);
        number = ++m_spawnCount;
        if (cls)
            className = record(cls).name;
    }
    AActor* actor = add_actor(world, cls, className + L"_" + std::to_wstring(2147480000 + number), pose);
    {
        std::lock_guard lock(m_mutex);
        Record& entry = record(actor);
        entry.spawned = true;
        if (m_serialOnSpawn)
            entry.serial = m_nextSerial++;
    }
    // The new actor's construction and BeginPlay events run through ProcessEvent before SpawnActor returns.
    process_event(actor);
    return actor;
}

auto Engine::call_function(UObject* context, UFunction* function, void* parms) -> void {
    if (function != set_actor_location_and_rotation() || context == nullptr) {
        process_event(context, function, parms);
        return;
    }
    // K2_SetActorLocationAndRotation, reading its parameter block in the running engine's layout.
    auto* actor = static_cast<AActor*>(context);
    bool spawned;
    {
        std::lock_guard lock(m_mutex);
        spawned = record(actor).spawned;
    }
    write_move_result(parms, false);
    if (enter(spawned ? Op::Move : Op::Relocate, "K2_SetActorLocationAndRotation") != FaultMode::None)
        return;
    process_event(actor, function, parms);
    const MoveParameters read = read_move_parameters(parms);
    std::lock_guard lock(m_mutex);
    Record& entry = record(actor);
    if (!entry.alive)
        return;
    entry.pose = Pose{read.location[0], read.location[1], read.location[2],
                      read.rotation[0], read.rotation[1], read.rotation[2]};
    write_move_result(parms, true);
}

auto Engine::set_flag(AActor* actor, Op op, bool value) -> void {
    static constexpr const char* kNames[] = {"SetActorHiddenInGame", "SetActorEnableCollision",
                                             "SetActorTickEnabled"};
    const auto which = static_cast<std::size_t>(op) - static_cast<std::size_t>(Op::Hidden);
    if (enter(op, std::string(kNames[which]) + (value ? "(1)" : "(0)")) != FaultMode::None)
        return;
    process_event(actor);
    std::lock_guard lock(m_mutex);
    Record& entry = record(actor);
    if (op == Op::Hidden)
        entry.hidden = value;
    else if (op == Op::Collision)
        entry.collision = value;
    else
        entry.tick = value;
}

auto Engine::destroy(AActor* actor) -> void {
    if (enter(Op::Destroy, "K2_DestroyActor") != FaultMode::None)
        return;
    process_event(actor);
    std::lock_guard lock(m_mutex);
    record(actor).alive = false;
}

auto Engine::full_name(const UObject* object) -> std::wstring {
    if (enter(Op::FullName, "GetFullName") != FaultMode::None)
        return {};
    std::lock_guard lock(m_mutex);
    return full_name_locked(object);
}

auto Engine::full_name_locked(const UObject* object) const -> std::wstring {
    const Record& entry = record(object);
    const std::wstring cls = entry.cls ? record(entry.cls).name : std::wstring(L"Class");
    return cls + L" " + entry.path;
}

auto Engine::resolve_weak(int32_t index, int32_t serial) const -> UObject* {
    std::lock_guard lock(m_mutex);
    if (index < 0 || static_cast<std::size_t>(index) >= m_objects.size())
        return nullptr;
    // As the host's FWeakObjectPtr::Get: nothing without a serial number, nothing once the slot's number
    // differs, nothing while the object is pending kill.
    const Record& entry = m_objects[static_cast<std::size_t>(index)];
    if (serial == 0 || !entry.object || entry.serial != serial || !entry.alive)
        return nullptr;
    return entry.object.get();
}

auto Engine::set_serial_numbers_on_spawn(bool allocate) -> void {
    std::lock_guard lock(m_mutex);
    m_serialOnSpawn = allocate;
}

auto Engine::collect_garbage() -> std::size_t {
    std::vector<std::pair<std::shared_ptr<UObject>, std::size_t>> freed;
    std::vector<RC::Unreal::FUObjectDeleteListener*> listeners;
    {
        std::lock_guard lock(m_mutex);
        for (std::size_t slot = 0; slot < m_objects.size(); ++slot) {
            Record& entry = m_objects[slot];
            if (!entry.object || entry.alive)
                continue;
            m_indexOf.erase(entry.object.get());
            freed.emplace_back(std::move(entry.object), slot);
            entry = Record{};
        }
        listeners = m_deleteListeners;
    }
    // The listeners hear of each object while its memory and its slot are still its own.
    for (const auto& [object, slot] : freed)
        for (auto* listener : listeners)
            listener->NotifyUObjectDeleted(object.get(), static_cast<int32_t>(slot));
    std::lock_guard lock(m_mutex);
    for (const auto& [object, slot] : freed)
        m_freeSlots.push_back(slot);
    return freed.size(); // the objects' memory goes here
}

auto Engine::add_delete_listener(RC::Unreal::FUObjectDeleteListener* listener) -> void {
    std::lock_guard lock(m_mutex);
    m_deleteListeners.push_back(listener);
}

auto Engine::index_of(const UObject* object) const -> int32_t {
    std::lock_guard lock(m_mutex);
    return static_cast<int32_t>(m_indexOf.at(object));
}

auto Engine::item_of(const UObject* object) -> RC::Unreal::FUObjectItem* {
    std::lock_guard lock(m_mutex);
    const std::size_t slot = m_indexOf.at(object);
    if (m_items.size() <= slot)
        m_items.resize(slot + 1);
    if (!m_items[slot]) {
        m_items[slot] = std::make_unique<RC::Unreal::FUObjectItem>();
        m_slotOfItem.emplace(m_items[slot].get(), slot);
    }
    return m_items[slot].get();
}

auto Engine::object_in(const RC::Unreal::FUObjectItem* item, bool evenIfPendingKill) const -> UObject* {
    std::lock_guard lock(m_mutex);
    const auto found = m_slotOfItem.find(item);
    if (found == m_slotOfItem.end())
        return nullptr;
    const Record& entry = m_objects[found->second];
    return entry.object && (entry.alive || evenIfPendingKill) ? entry.object.get() : nullptr;
}

auto Engine::serial_of(const UObject* object) const -> int32_t {
    std::lock_guard lock(m_mutex);
    return record(object).serial;
}

} // namespace standin
