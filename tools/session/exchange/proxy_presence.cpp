#include "tools/session/exchange/proxy_presence.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/exchange_names.hpp"

namespace korvath::session_tool {

auto proxy_shown(const std::filesystem::path& gameDir) -> bool {
    const auto dir = exchange_dir_of(gameDir);
    const auto spawned = os::last_write_time(dir / kSpawnReport);
    if (!spawned)
        return false;
    const auto destroyed = os::last_write_time(dir / kDestroyReport);
    return !destroyed || *spawned > *destroyed;
}

} // namespace korvath::session_tool
