#pragma once
// Drives a loaded mod library as the host would, on one thread, with the stand-in's stepped clock:
// each step advances the clock, calls the update hook, then runs ProcessEvent calls on the game thread.
// Also the exchange-file and console helpers of the session tests.

#include "standin/Clock.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace korvath::test {

// Writes an exchange file as the outside tools do.
inline auto put(const char* name, std::string_view content = "") -> void {
    write_file(exchange_dir() / name, content);
}
// An exchange file's content; empty when it is missing (or, on Windows, being replaced at that moment).
inline auto report(const char* name) -> std::string {
    try {
        return read_file(exchange_dir() / name);
    } catch (const std::runtime_error&) {
        return {};
    }
}
// Console lines that hold `needle`; each line reaches both recording devices, and counts once.
inline auto count_lines(const standin::LineLog& log, std::wstring_view needle) -> long {
    const auto texts = log.texts();
    return std::count_if(texts.begin(), texts.end(),
                         [&](const std::wstring& t) { return t.find(needle) != std::wstring::npos; }) /
           2;
}

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
        m_object->on_update();
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
