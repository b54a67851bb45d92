#include "tools/session/net/portmap/mapping_keeper.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;
constexpr nanoseconds kShortestWait = std::chrono::seconds(1);
constexpr nanoseconds kNever = nanoseconds::max();
constexpr std::chrono::seconds kLongestLease = std::chrono::hours(24);

} // namespace

MappingKeeper::MappingKeeper(std::vector<std::unique_ptr<PortMapper>> mappers, uint16_t port,
                             std::chrono::seconds lease)
    : m_mappers(std::move(mappers))
    , m_port(port)
    , m_lease(lease) {}

auto MappingKeeper::take_grant(const PortGrant& grant, nanoseconds now) -> nanoseconds {
    m_view.grant = grant;
    m_view.grant.lease = std::min(grant.lease, kLongestLease); // a router's word, bounded
    ++m_view.changes;
    if (m_view.grant.lease.count() == 0) {
        m_view.leaseEnds.reset();
        return kNever;
    }
    m_view.leaseEnds = now + m_view.grant.lease;
    return now + std::max<nanoseconds>(m_view.grant.lease / 2, kShortestWait);
}

auto MappingKeeper::ask_all(nanoseconds now, const std::function<nanoseconds()>& clock) -> nanoseconds {
    std::string silence, refusal, refuser;
    for (const auto& mapper : m_mappers) {
        MapAnswer answer = mapper->map(m_port, m_lease);
        if (answer.kind == MapAnswer::Kind::Granted) {
            m_granting = mapper.get();
            m_view.state = MappingState::Mapped;
            m_view.protocol = mapper->protocol();
            m_view.detail.clear();
            m_view.askedFor = clock() - now;
            return take_grant(answer.grant, now);
        }
        std::string& words = answer.kind == MapAnswer::Kind::Refused ? refusal : silence;
        words += (words.empty() ? "" : "; ") + mapper->protocol() + ": " + answer.detail;
        if (answer.kind == MapAnswer::Kind::Refused && refuser.empty())
            refuser = mapper->protocol();
    }
    m_view.state = refusal.empty() ? MappingState::NoRouter : MappingState::Refused;
    m_view.protocol = refuser;
    m_view.detail = refusal.empty() ? silence : refusal;
    m_view.askedFor = clock() - now;
    ++m_view.changes;
    return now + kAskAgainAfter;
}

auto MappingKeeper::renew(nanoseconds now) -> nanoseconds {
    const MapAnswer answer = m_granting->map(m_port, m_lease);
    if (answer.kind == MapAnswer::Kind::Granted) {
        ++m_view.renewals;
        return take_grant(answer.grant, now);
    }
    if (m_view.leaseEnds && now < *m_view.leaseEnds) // try again while the lease lasts
        return now + std::max<nanoseconds>((*m_view.leaseEnds - now) / 4, kShortestWait);
    m_granting = nullptr;
    m_view.state = MappingState::Lost;
    m_view.detail = answer.detail;
    ++m_view.changes;
    return now + kAskAgainAfter;
}

auto MappingKeeper::step(nanoseconds now, const std::function<nanoseconds()>& clock) -> nanoseconds {
    if (m_view.state == MappingState::Removed)
        return kNever;
    if (now >= m_due)
        m_due = m_granting ? renew(now) : ask_all(now, clock);
    return m_due;
}

auto MappingKeeper::finish() -> void {
    if (m_granting)
        m_granting->unmap(m_port);
    m_granting = nullptr;
    m_view.state = MappingState::Removed;
    ++m_view.changes;
}

} // namespace korvath::session_tool
