#include "tools/sim/mod_host.hpp"

#include "tools/platform/os.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace korvath::sim {

namespace {

constexpr auto kSlowTick = std::chrono::milliseconds(75);
constexpr uint64_t kSlowTicksPrinted = 20;

} // namespace

ModHost::ModHost(const std::filesystem::path& library)
    : m_library(standin::LoadedMod::load(library)) {}

auto ModHost::start() -> bool {
    m_startGuard.run([this] { m_mod = m_library.start(); });
    return m_mod != nullptr;
}

auto ModHost::tick() -> void {
    if (!m_mod)
        return;
    const auto start = std::chrono::steady_clock::now();
    const auto startCpu = os::thread_cpu_time();
    m_tickGuard.run([this] { m_mod->on_update(); });
    const auto cpu = os::thread_cpu_time() - startCpu;
    const auto end = std::chrono::steady_clock::now();
    const auto wall = std::chrono::duration_cast<std::chrono::nanoseconds>(end - start);
    m_longestTickCpu = std::max(m_longestTickCpu, cpu);
    m_longestTick = std::max(m_longestTick, wall);
    ++m_ticks;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    if (wall > kSlowTick && ++m_slowTicks <= kSlowTicksPrinted)
        std::fprintf(stderr, "korvath-sim: on_update took %.1f ms (processor time %.1f ms) at %.3f s\n",
                     Milliseconds(wall).count(), Milliseconds(cpu).count(),
                     std::chrono::duration<double>(end - m_created).count());
}

auto ModHost::engine_ready() -> void {
    if (m_mod)
        m_readyGuard.run([this] { m_mod->on_unreal_init(); });
}

auto ModHost::uninstall() -> void {
    if (m_mod)
        m_uninstallGuard.run([this] { m_library.uninstall(m_mod); });
    // The host frees the library right after uninstall_mod.
    m_library.free_library();
    m_mod = nullptr;
}

auto ModHost::print_summaries() const -> void {
    for (const HookGuard* guard : {&m_startGuard, &m_tickGuard, &m_readyGuard, &m_uninstallGuard})
        guard->print_summary();
    using Milliseconds = std::chrono::duration<double, std::milli>;
    std::fprintf(stderr,
                 "korvath-sim: on_update: %" PRIu64 " calls, longest %.3f ms (processor time %.3f ms)\n",
                 m_ticks, Milliseconds(m_longestTick).count(), Milliseconds(m_longestTickCpu).count());
}

} // namespace korvath::sim
