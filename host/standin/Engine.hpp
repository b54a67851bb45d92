#pragma once
// The simulated engine behind the host stand-in: a world of objects and actors that a test or the
// simulator populates, inspects and makes fail on purpose. The mod never includes this header; it
// reaches the engine only through the RC::Unreal API.

#include "Unreal/AActor.hpp"
#include "Unreal/Hooks.hpp"
#include "Unreal/UClass.hpp"
#include "Unreal/UFunction.hpp"
#include "Unreal/UObject.hpp"
#include "Unreal/UObjectArray.hpp"
#include "Unreal/World.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace standin {

using RC::Unreal::AActor;
using RC::Unreal::UClass;
using RC::Unreal::UFunction;
using RC::Unreal::UObject;
using RC::Unreal::UWorld;

inline constexpr const wchar_t* kControllerClass = L"BP_PlayerController_C";
inline constexpr const wchar_t* kCharacterClass = L"BP_PlayerCharacter_C";
inline constexpr const wchar_t* kCharacterClassPath =
    L"/Game/Blueprints/BP_PlayerCharacter.BP_PlayerCharacter_C";

// Engine operations that can be made to fail. Controller and Pawn are FindFirstOf of the
// controller and character classes; Move is a move of a spawned actor, Relocate of a placed one.
enum class Op {
    Controller,
    Class,
    World,
    Spawn,
    Move,
    Destroy,
    Pawn,
    Relocate,
    Hidden,
    Collision,
    Tick,
    FullName
};
inline constexpr std::size_t kOpCount = 12;

enum class FaultMode {
    None,
    Missing,      // the call yields null (or has no effect)
    False,        // the call returns false (or has no effect)
    Throw,        // std::runtime_error("simulated <op> failure")
    ThrowUnknown, // an exception not derived from std::exception
};

struct Fault {
    FaultMode mode{FaultMode::None};
    uint64_t fromCall{1}; // the fault applies from this call of the operation on (1-based)
};

// What ThrowUnknown throws.
struct UnknownEngineError {
    int code{};
};

auto op_name(Op op) -> std::string_view;
auto parse_op(std::string_view text) -> std::optional<Op>;
auto parse_fault_mode(std::string_view text) -> std::optional<FaultMode>;

struct Pose {
    double x{}, y{}, z{}, pitch{}, yaw{}, roll{};
};

struct ActorState {
    std::wstring name;
    std::wstring fullName;
    std::wstring className;
    UWorld* world{};
    Pose pose;
    bool hidden{}, collision{}, tick{}, alive{}, spawned{};
};

struct GameWorld {
    UWorld* world{};
    AActor* controller{};
    AActor* pawn{};
    UClass* characterClass{};
    UClass* controllerClass{};
};

class Engine {
public:
    static auto instance() -> Engine&;

    // Forgets every object, fault, counter, journal entry and ProcessEvent callback; engine 5.1.
    auto reset() -> void;
    auto set_version(int32_t major, int32_t minor) -> void;

    // A class whose parents, nearest first, have the short names in `parents`.
    auto add_class(std::wstring shortName, std::wstring path, std::vector<std::wstring> parents = {})
        -> UClass*;
    // The class's default object ("Default__<class>"), which lookups by class never return.
    auto add_default_object(UClass* cls) -> UObject*;
    auto add_world(std::wstring name) -> UWorld*;
    auto add_actor(UWorld* world, UClass* cls, std::wstring name, const Pose& pose) -> AActor*;
    // A world "Map_A" with the player controller, the local pawn at `pawnPose` and both classes.
    auto populate_game_world(const Pose& pawnPose, std::wstring mapName = L"Map_A") -> GameWorld;
    // A map change: the old world and every actor in it are torn down, and a new world gets a new
    // controller and a new local pawn at the old pawn's pose. The classes stay.
    // The old world is collected at once (pointers into it dangle afterwards).
    auto change_map(const GameWorld& old, std::wstring mapName) -> GameWorld;

    // Engine-side events the mod does not cause. A destroyed actor (and a torn-down world with its
    // actors) stays in its slot, pending kill, until collect_garbage frees it.
    auto tear_down_world(UWorld* world) -> void;
    auto destroy_actor(AActor* actor) -> void;
    auto move_actor(AActor* actor, const Pose& pose) -> void;

    // Object slots and serial numbers as the engine keeps them. A slot's serial number is 0 until
    // something of the engine's own weak-references the object; the host's FWeakObjectPtr copies it and
    // never allocates one. Here a spawned actor gets one at its spawn when this is set (default: no).
    auto set_serial_numbers_on_spawn(bool allocate) -> void;
    // Frees every object pending kill: the delete listeners are told, then its slot is emptied, its
    // serial number cleared, its memory released, and the slot goes to the next new object. Returns how
    // many were freed.
    auto collect_garbage() -> std::size_t;
    // Listeners stay for the life of the process, as in the engine (reset keeps them).
    auto add_delete_listener(RC::Unreal::FUObjectDeleteListener* listener) -> void;

    auto set_fault(Op op, Fault fault) -> void;
    auto clear_faults() -> void;
    auto calls(Op op) const -> uint64_t;

    // A collected actor reads as not alive, with nothing else known.
    auto inspect(const AActor* actor) const -> ActorState;
    // Every actor not yet collected with its state, taken at one moment.
    auto actor_states() const -> std::vector<std::pair<AActor*, ActorState>>;
    auto spawned_actors() const -> std::vector<AActor*>;
    // One entry per engine call the mod made, e.g. "SetActorHiddenInGame(0)". A long-running simulator
    // turns it off, so its memory does not grow with every call; reset() turns it on again.
    auto journal() const -> std::vector<std::string>;
    auto keep_journal(bool keep) -> void;

    // Engine objects may be touched only on the game thread; once the calling thread is declared as
    // it, a call from any other thread aborts the process (it is a bug of the caller). The thread is
    // recorded here, in the host's library: on Windows each module with its own static C++ runtime
    // numbers threads differently.
    auto declare_game_thread() -> void;
    auto forget_game_thread() -> void;

    // Runs one ProcessEvent call: every registered pre-callback, in registration order.
    auto process_event(UObject* context = nullptr, UFunction* function = nullptr, void* parms = nullptr)
        -> void;
    auto callback_count() const -> std::size_t;

    // Used by the RC::Unreal implementation.
    auto register_pre_callback(const RC::Unreal::Hook::ProcessEventCallback& callback) -> void;
    auto find_first_of(std::wstring_view className) -> UObject*;
    auto find_object(std::wstring_view path) -> UObject*;
    auto world_of(const AActor* actor) -> UWorld*;
    auto spawn(UWorld* world, UClass* cls, const RC::Unreal::FVector* location,
               const RC::Unreal::FRotator* rotation) -> AActor*;
    // UObject::ProcessEvent: the pre-callbacks, then the function itself when the engine runs it.
    auto call_function(UObject* context, UFunction* function, void* parms) -> void;
    auto set_flag(AActor* actor, Op op, bool value) -> void;
    auto destroy(AActor* actor) -> void;
    auto full_name(const UObject* object) -> std::wstring;
    auto index_of(const UObject* object) const -> int32_t;
    auto item_of(const UObject* object) -> RC::Unreal::FUObjectItem*;
    auto object_in(const RC::Unreal::FUObjectItem* item, bool evenIfPendingKill) const -> UObject*;
    auto serial_of(const UObject* object) const -> int32_t;
    auto resolve_weak(int32_t index, int32_t serial) const -> UObject*;

private:
    // What the engine knows of one object; the object itself carries no data.
    struct Record {
        std::shared_ptr<UObject> object; // null once collected: the slot is free
        std::wstring name;
        std::wstring path;
        UClass* cls{};
        std::vector<std::wstring> parents; // of a class: its parents' short names, nearest first
        int32_t serial{};
        bool isActor{};
        bool isDefault{};
        UWorld* world{};
        Pose pose;
        bool hidden{}, collision{true}, tick{true}, alive{true}, spawned{};
    };

    Engine() = default;
    template <typename T>
    auto make_object(std::wstring name, std::wstring path, UClass* cls) -> T*;
    // The record of an object the engine made; m_mutex held.
    auto record(const UObject* object) -> Record&;
    auto record(const UObject* object) const -> const Record&;
    // Counts the call and returns the fault mode in force for it; throws for the throwing modes.
    auto enter(Op op, std::string journalEntry) -> FaultMode;
    auto check_thread() const -> void;
    auto full_name_locked(const UObject* object) const -> std::wstring;
    auto inspect_locked(const AActor* actor) const -> ActorState;

    mutable std::mutex m_mutex;
    std::vector<Record> m_objects; // by slot index
    std::unordered_map<const UObject*, std::size_t> m_indexOf;
    std::vector<std::size_t> m_freeSlots; // taken last freed, first
    // A slot's item stays at one address for the life of the engine, as the engine's chunked array.
    std::vector<std::unique_ptr<RC::Unreal::FUObjectItem>> m_items;
    std::unordered_map<const RC::Unreal::FUObjectItem*, std::size_t> m_slotOfItem;
    std::vector<RC::Unreal::FUObjectDeleteListener*> m_deleteListeners;
    bool m_serialOnSpawn{};
    int32_t m_nextSerial{1};
    uint64_t m_spawnCount{};
    Fault m_faults[kOpCount]{};
    uint64_t m_calls[kOpCount]{};
    std::vector<std::string> m_journal;
    bool m_keepJournal{true};
    std::atomic<std::thread::id> m_gameThread{};

    static constexpr std::size_t kMaxCallbacks = 16;
    RC::Unreal::Hook::ProcessEventCallback m_callbacks[kMaxCallbacks];
    std::atomic<std::size_t> m_callbackCount{0};
};

inline auto engine() -> Engine& {
    return Engine::instance();
}

} // namespace standin
