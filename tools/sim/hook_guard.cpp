#include "tools/sim/hook_guard.hpp"

#include <cinttypes>
#include <cstdio>

namespace korvath::sim {

auto HookGuard::report(const std::string& what) noexcept -> void {
    const uint64_t count = ++m_escaped;
    if (count <= kPrintedPerHook)
        std::fprintf(stderr, "korvath-sim: exception escaped %s: %s\n", m_hookName.c_str(), what.c_str());
    if (count == kPrintedPerHook)
        std::fprintf(stderr, "korvath-sim: further exceptions from %s are counted, not printed\n",
                     m_hookName.c_str());
}

auto HookGuard::print_summary() const -> void {
    const uint64_t count = m_escaped.load();
    if (count > kPrintedPerHook)
        std::fprintf(stderr, "korvath-sim: %" PRIu64 " exceptions escaped %s in all\n", count,
                     m_hookName.c_str());
}

} // namespace korvath::sim
