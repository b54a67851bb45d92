#include "tools/sim/mod_host.hpp"

namespace korvath::sim {

ModHost::ModHost(const std::filesystem::path& library)
    : m_library(standin::LoadedMod::load(library)) {}

auto ModHost::start() -> bool {
    m_startGuard.run([this] { m_mod = m_library.start(); });
    return m_mod != nullptr;
}

auto ModHost::tick() -> void {
    if (m_mod)
        m_tickGuard.run([this] { m_mod->on_host_tick(); });
}

auto ModHost::engine_ready() -> void {
    if (m_mod)
        m_readyGuard.run([this] { m_mod->on_unreal_ready(); });
}

auto ModHost::uninstall() -> void {
    if (m_mod)
        m_uninstallGuard.run([this] { m_library.uninstall(m_mod); });
    m_mod = nullptr;
}

auto ModHost::print_summaries() const -> void {
    for (const HookGuard* guard : {&m_startGuard, &m_tickGuard, &m_readyGuard, &m_uninstallGuard})
        guard->print_summary();
}

} // namespace korvath::sim
