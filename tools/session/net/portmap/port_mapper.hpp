#pragma once
// One way of asking the home router to forward a UDP port to this PC (NAT-PMP or UPnP IGD), and what
// the router answered.

#include <chrono>
#include <cstdint>
#include <string>

namespace korvath::session_tool {

// The mapping a router granted: where the other player reaches this PC, for how long.
struct PortGrant {
    std::string externalAddress; // IPv4, checked
    uint16_t externalPort = 0;
    std::chrono::seconds lease{}; // 0: the router keeps it until it is removed
};

struct MapAnswer {
    enum class Kind { Granted, Refused, Silent };
    Kind kind = Kind::Silent;
    PortGrant grant;    // when granted
    std::string detail; // when refused or silent: in words, for the player
};

// Every call blocks for at most about a second (a silent router), so the caller bounds the whole try.
// Called from one thread at a time.
class PortMapper {
public:
    virtual ~PortMapper() = default;
    virtual auto protocol() const -> std::string = 0; // "NAT-PMP", "UPnP"
    // Maps UDP `port` of this PC to the same external port if the router allows, for `lease`; asked
    // again, it renews.
    virtual auto map(uint16_t port, std::chrono::seconds lease) -> MapAnswer = 0;
    // Removes the mapping of `port` that this mapper made; quietly gives up when the router is silent.
    virtual auto unmap(uint16_t port) -> void = 0;
};

} // namespace korvath::session_tool
