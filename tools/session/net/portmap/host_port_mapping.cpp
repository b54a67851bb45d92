#include "tools/session/net/portmap/host_port_mapping.hpp"

#include "tools/session/net/portmap/global_ipv6.hpp"
#ifndef _WIN32
#include "tools/session/net/portmap/natpmp_mapper.hpp"
#endif
#include "tools/session/net/portmap/upnp_mapper.hpp"

namespace korvath::session_tool {

HostPortMapping::HostPortMapping(std::string code, std::chrono::seconds lease)
    : m_hint{0, std::move(code), {}}
    , m_lease(lease) {}

auto HostPortMapping::start(uint16_t port) -> void {
    m_hint.port = port;
    m_hint.ipv6 = global_ipv6_addresses();
    // NAT-PMP first: one datagram to the gateway answers at once where it is on. Each takes about a
    // second when nothing answers, so a network without a mapping router is known within about two.
    std::vector<std::unique_ptr<PortMapper>> mappers;
#ifndef _WIN32
    mappers.push_back(std::make_unique<NatPmpMapper>());
#endif
    mappers.push_back(std::make_unique<UpnpMapper>());
    m_thread = std::make_unique<MappingThread>(MappingKeeper(std::move(mappers), port, m_lease));
}

auto HostPortMapping::notes(std::chrono::nanoseconds now) -> SessionNotes {
    SessionNotes notes;
    if (!m_thread)
        return notes;
    const MappingView view = m_thread->view();
    if (view.changes != m_shownChanges) {
        m_shownChanges = view.changes;
        notes.events = mapping_news(view, m_hint);
    }
    notes.status = mapping_status(view, now);
    return notes;
}

auto HostPortMapping::stop(std::ostream& out) -> void {
    if (!m_thread)
        return;
    const bool mapped = m_thread->view().state == MappingState::Mapped;
    m_thread->stop();
    if (mapped)
        for (const std::string& line : mapping_news(m_thread->view(), m_hint))
            out << line << "\n";
    out << std::flush;
}

} // namespace korvath::session_tool
