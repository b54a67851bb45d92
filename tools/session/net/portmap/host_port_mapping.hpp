#pragma once
// The port mapping of a running host: started once its socket has a port, polled by the session loop
// for news and the status line's part, removed when the session ends. All on the session's thread; the
// routers are asked on a thread of the mapping's own.

#include "tools/session/net/net_status.hpp"
#include "tools/session/net/portmap/mapping_news.hpp"
#include "tools/session/net/portmap/mapping_thread.hpp"

#include <ostream>

namespace korvath::session_tool {

class HostPortMapping {
public:
    HostPortMapping(std::string code, std::chrono::seconds lease);

    auto start(uint16_t port) -> void;
    auto notes(std::chrono::nanoseconds now) -> SessionNotes;
    // Removes the mapping (waits for the router's answer) and says so on `out`.
    auto stop(std::ostream& out) -> void;

private:
    JoinHint m_hint;
    std::chrono::seconds m_lease;
    std::unique_ptr<MappingThread> m_thread;
    uint64_t m_shownChanges = 0;
};

} // namespace korvath::session_tool
