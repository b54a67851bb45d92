#pragma once
// NAT-PMP (RFC 6886) through libnatpmp: one request to the default gateway, retried by the library's
// schedule (250 ms, then doubling) until this mapper's own deadline.

#include "tools/session/net/portmap/port_mapper.hpp"

namespace korvath::session_tool {

class NatPmpMapper final : public PortMapper {
public:
    // `patience`: how long one request waits for the router's answer, resends included.
    explicit NatPmpMapper(std::chrono::milliseconds patience = std::chrono::milliseconds(1000));
    auto protocol() const -> std::string override { return "NAT-PMP"; }
    auto map(uint16_t port, std::chrono::seconds lease) -> MapAnswer override;
    auto unmap(uint16_t port) -> void override;

private:
    std::chrono::milliseconds m_patience;
    std::string m_externalAddress; // learnt with the first mapping
};

} // namespace korvath::session_tool
