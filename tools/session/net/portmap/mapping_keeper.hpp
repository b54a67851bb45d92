#pragma once
// Keeps one UDP port mapped on the home router: tries each protocol in turn until one grants, renews
// the lease half-way through, looks for a router again after a refusal, silence or a lost lease, and
// removes the mapping at the end. Time is passed in (steady clock, nanoseconds); the mappers block.

#include "tools/session/net/portmap/port_mapper.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace korvath::session_tool {

enum class MappingState { Trying, Mapped, NoRouter, Refused, Lost, Removed };

struct MappingView {
    MappingState state = MappingState::Trying;
    std::string protocol;                              // of the mapping, or of the refusal
    PortGrant grant;                                   // while mapped
    std::optional<std::chrono::nanoseconds> leaseEnds; // nothing: a permanent mapping
    std::string detail;                                // why there is no mapping, in words
    std::chrono::nanoseconds askedFor{};               // how long the last full try took
    uint64_t renewals = 0;
    uint64_t changes = 0; // counts every change of state and every renewal
};

inline constexpr auto kDefaultLease = std::chrono::seconds(1200);
// How long after a refusal, silence or lost lease the routers are asked again.
inline constexpr auto kAskAgainAfter = std::chrono::seconds(60);

class MappingKeeper {
public:
    MappingKeeper(std::vector<std::unique_ptr<PortMapper>> mappers, uint16_t port,
                  std::chrono::seconds lease = kDefaultLease);

    // Does what is due at `now`, if anything: asks the routers, or renews. `clock` reads the time after
    // the calls (to measure them). Returns when it is next due.
    auto step(std::chrono::nanoseconds now, const std::function<std::chrono::nanoseconds()>& clock)
        -> std::chrono::nanoseconds;
    // Removes the mapping, if there is one.
    auto finish() -> void;
    auto view() const -> const MappingView& { return m_view; }
    auto port() const -> uint16_t { return m_port; }

private:
    auto ask_all(std::chrono::nanoseconds now, const std::function<std::chrono::nanoseconds()>& clock)
        -> std::chrono::nanoseconds;
    auto renew(std::chrono::nanoseconds now) -> std::chrono::nanoseconds;
    auto take_grant(const PortGrant& grant, std::chrono::nanoseconds now) -> std::chrono::nanoseconds;

    std::vector<std::unique_ptr<PortMapper>> m_mappers;
    uint16_t m_port;
    std::chrono::seconds m_lease;
    PortMapper* m_granting = nullptr; // the mapper of the current mapping
    std::chrono::nanoseconds m_due{};
    MappingView m_view;
};

} // namespace korvath::session_tool
