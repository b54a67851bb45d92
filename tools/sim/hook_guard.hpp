#pragma once
// A call from the host into the mod. An exception that escapes it must not end the game: the host
// logs it and goes on, as the real one does. Repeats are counted rather than printed without end.

#include "standin/Engine.hpp"

#include <atomic>
#include <cstdint>
#include <exception>
#include <string>

namespace korvath::sim {

class HookGuard {
public:
    explicit HookGuard(std::string hookName)
        : m_hookName(std::move(hookName)) {}
    HookGuard(const HookGuard&) = delete;
    HookGuard& operator=(const HookGuard&) = delete;

    template <typename Call>
    auto run(Call&& call) noexcept -> void {
        try {
            call();
        } catch (const std::exception& error) {
            report(error.what());
        } catch (const standin::UnknownEngineError& error) {
            report("non-standard exception (simulated engine error " + std::to_string(error.code) + ")");
        } catch (...) {
            report("non-standard exception");
        }
    }

    auto escaped() const -> uint64_t { return m_escaped.load(); }
    // Prints how many exceptions escaped in all, when some were not printed.
    auto print_summary() const -> void;

private:
    auto report(const std::string& what) noexcept -> void;

    static constexpr uint64_t kPrintedPerHook = 10;
    std::string m_hookName;
    std::atomic<uint64_t> m_escaped{0};
};

} // namespace korvath::sim
