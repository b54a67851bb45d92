#pragma once
// UPnP IGD through miniupnpc: SSDP discovery on the LAN (once), then SOAP calls to the router's
// WANIPConnection or WANPPPConnection service.

#include "tools/session/net/portmap/port_mapper.hpp"

#include <memory>

namespace korvath::session_tool {

class UpnpMapper final : public PortMapper {
public:
    // `discovery`: how long to listen for routers' answers to the search.
    explicit UpnpMapper(std::chrono::milliseconds discovery = std::chrono::milliseconds(1000));
    ~UpnpMapper() override;
    auto protocol() const -> std::string override { return "UPnP"; }
    auto map(uint16_t port, std::chrono::seconds lease) -> MapAnswer override;
    auto unmap(uint16_t port) -> void override;

private:
    struct Gateway; // the router found, its service's address and this PC's address towards it
    std::chrono::milliseconds m_discovery;
    std::unique_ptr<Gateway> m_gateway;
    uint16_t m_externalPort = 0; // of the mapping made
};

} // namespace korvath::session_tool
