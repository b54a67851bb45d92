#pragma once
// Drives a loaded mod library as the host would, on one thread, with the stand-in's stepped clock:
// each step advances the clock, calls the update hook, then runs ProcessEvent calls on the game thread.

#include "standin/Clock.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <functional>
#include <utility>

namespace korvath::test {

class SessionDriver {
public:
    static constexpr int64_t kStep = 5'000'000; // the host's update period, 5 ms

    explicit SessionDriver(const fs::path& library)
        : m_mod(load_mod_copy(library))
        , m_object(m_mod.start()) {}
    ~SessionDriver() {
        if (m_object)
            m_mod.uninstall(m_object);
    }
    SessionDriver(const SessionDriver&) = delete;
    SessionDriver& operator=(const SessionDriver&) = delete;

    auto mod() -> RC::CppUserModBase& { return *m_object; }
    auto uninstall() -> void { m_mod.uninstall(std::exchange(m_object, nullptr)); }
    // A new mod object from the library already loaded, as a host that reloads the mod creates it.
    auto restart() -> void {
        if (m_object)
            uninstall();
        m_object = m_mod.start();
    }

    auto step() -> void {
        standin::clock().advance_ns(kStep);
        m_object->on_host_tick();
        standin::engine().process_event();
    }
    // Steps until `done` holds or `maxSeconds` of clock time have passed; true when it held.
    auto run_until(const std::function<bool()>& done, double maxSeconds) -> bool {
        const auto steps = static_cast<int64_t>(maxSeconds * 1e9) / kStep;
        for (int64_t i = 0; i < steps; ++i) {
            if (done())
                return true;
            step();
        }
        return done();
    }
    auto run_for(double seconds) -> void {
        run_until([] { return false; }, seconds);
    }

private:
    standin::LoadedMod m_mod;
    RC::CppUserModBase* m_object;
};

} // namespace korvath::test
