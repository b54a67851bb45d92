#include "tools/session/net/portmap/natpmp_mapper.hpp"

#include "tools/session/net/portmap/external_address.hpp"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <sys/select.h>
#endif
#define ENABLE_STRNATPMPERR
#include <natpmp.h>

#include <algorithm>

namespace korvath::session_tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostReads = 64; // answers from elsewhere are dropped by the library; bound them too

// One open libnatpmp handle, closed on every path.
class Handle {
public:
    Handle()
        : m_status(initnatpmp(&m_natpmp, 0, 0)) {}
    ~Handle() {
        if (m_status == 0)
            closenatpmp(&m_natpmp);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    auto status() const -> int { return m_status; }
    auto get() -> natpmp_t* { return &m_natpmp; }

private:
    natpmp_t m_natpmp{};
    int m_status;
};

enum class Outcome { Answered, Refused, Silent };

// Waits for the answer to the request just sent, resending on the library's schedule, until `deadline`.
auto await_answer(natpmp_t* natpmp, natpmpresp_t& response, Clock::time_point deadline, int& error)
    -> Outcome {
    for (int read = 0; read < kMostReads; ++read) {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return Outcome::Silent;
        timeval timeout{};
        getnatpmprequesttimeout(natpmp, &timeout);
        const auto wait =
            std::min<int64_t>(left.count(), int64_t{timeout.tv_sec} * 1'000'000 + timeout.tv_usec);
        timeout.tv_sec = static_cast<decltype(timeout.tv_sec)>(wait / 1'000'000);
        timeout.tv_usec = static_cast<decltype(timeout.tv_usec)>(wait % 1'000'000);
#ifndef _WIN32
        if (natpmp->s >= FD_SETSIZE)
            return Outcome::Silent;
#endif
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(natpmp->s, &readable);
        select(natpmp->s + 1, &readable, nullptr, nullptr, &timeout);
        error = readnatpmpresponseorretry(natpmp, &response);
        if (error >= 0)
            return Outcome::Answered;
        if (error == NATPMP_TRYAGAIN || error == NATPMP_ERR_WRONGPACKETSOURCE)
            continue;
        // Nothing listens at the gateway (an ICMP answer), or the library gave up resending.
        if (error == NATPMP_ERR_NOGATEWAYSUPPORT || error == NATPMP_ERR_RECVFROM)
            return Outcome::Silent;
        return Outcome::Refused;
    }
    return Outcome::Silent;
}

auto silent(std::string detail) -> MapAnswer {
    return {MapAnswer::Kind::Silent, {}, std::move(detail)};
}

// The gateway's silence in words: an ICMP error says that nothing listens for NAT-PMP there.
auto silence(int error) -> MapAnswer {
    return silent(error == NATPMP_ERR_NOGATEWAYSUPPORT || error == NATPMP_ERR_RECVFROM
                      ? "the gateway does not take NAT-PMP"
                      : "no answer from the gateway");
}

auto refused(const std::string& what, int error) -> MapAnswer {
    return {MapAnswer::Kind::Refused, {}, what + ": " + strnatpmperr(error)};
}

} // namespace

NatPmpMapper::NatPmpMapper(std::chrono::milliseconds patience)
    : m_patience(patience) {}

auto NatPmpMapper::map(uint16_t port, std::chrono::seconds lease) -> MapAnswer {
    Handle handle;
    if (handle.status() < 0)
        return silent(handle.status() == NATPMP_ERR_CANNOTGETGATEWAY ? "no default gateway"
                                                                     : strnatpmperr(handle.status()));
    const auto deadline = Clock::now() + m_patience;
    natpmpresp_t response{};
    int error = 0;
    if (m_externalAddress.empty()) {
        if (sendpublicaddressrequest(handle.get()) < 0)
            return silent("cannot send to the gateway");
        switch (await_answer(handle.get(), response, deadline, error)) {
        case Outcome::Silent:
            return silence(error);
        case Outcome::Refused:
            return refused("the router refused to tell its outside address", error);
        case Outcome::Answered:
            break;
        }
        char text[INET_ADDRSTRLEN] = {};
        const in_addr address = response.pnu.publicaddress.addr;
        inet_ntop(AF_INET, &address, text, sizeof text);
        const auto checked = check_external_address(text);
        if (!checked)
            return {MapAnswer::Kind::Refused, {}, "the router gave no usable outside address"};
        m_externalAddress = checked->text;
    }
    const auto seconds = static_cast<uint32_t>(std::clamp<int64_t>(lease.count(), 1, 86400));
    if (sendnewportmappingrequest(handle.get(), NATPMP_PROTOCOL_UDP, port, port, seconds) < 0)
        return silent("cannot send to the gateway");
    switch (await_answer(handle.get(), response, deadline, error)) {
    case Outcome::Silent:
        return silence(error);
    case Outcome::Refused:
        return refused("the router refused the mapping", error);
    case Outcome::Answered:
        break;
    }
    const auto& granted = response.pnu.newportmapping;
    if (response.type != NATPMP_RESPTYPE_UDPPORTMAPPING || granted.privateport != port ||
        granted.mappedpublicport == 0 || granted.lifetime == 0)
        return {MapAnswer::Kind::Refused, {}, "the router's answer did not match the request"};
    return {MapAnswer::Kind::Granted,
            {m_externalAddress, granted.mappedpublicport, std::chrono::seconds(granted.lifetime)},
            {}};
}

auto NatPmpMapper::unmap(uint16_t port) -> void {
    Handle handle;
    if (handle.status() < 0 || sendnewportmappingrequest(handle.get(), NATPMP_PROTOCOL_UDP, port, 0, 0) < 0)
        return;
    natpmpresp_t response{};
    int error = 0;
    await_answer(handle.get(), response, Clock::now() + m_patience, error);
}

} // namespace korvath::session_tool
