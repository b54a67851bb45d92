#include "tools/session/net/portmap/upnp_mapper.hpp"

#include "tools/session/net/portmap/external_address.hpp"

#include <miniupnpc/miniupnpc.h>
#include <miniupnpc/upnpcommands.h>
#include <miniupnpc/upnperrors.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace korvath::session_tool {

namespace {

constexpr char kDescription[] = "KorvathOnline";
constexpr int kOnlyPermanentLeases = 725;
constexpr const char* kSearched[] = {"urn:schemas-upnp-org:device:InternetGatewayDevice:1",
                                     "urn:schemas-upnp-org:device:InternetGatewayDevice:2",
                                     "urn:schemas-upnp-org:service:WANIPConnection:1",
                                     "urn:schemas-upnp-org:service:WANPPPConnection:1", nullptr};

auto upnp_error_text(int code) -> std::string {
    const char* text = strupnperror(code);
    return text ? std::string(text) : "error " + std::to_string(code);
}

} // namespace

struct UpnpMapper::Gateway {
    UPNPUrls urls{};
    IGDdatas data{};
    std::array<char, 64> lanAddress{}; // this PC's address towards the router
    std::string externalAddress;
    ~Gateway() { FreeUPNPUrls(&urls); }
};

UpnpMapper::UpnpMapper(std::chrono::milliseconds discovery)
    : m_discovery(discovery) {}

UpnpMapper::~UpnpMapper() = default;

auto UpnpMapper::map(uint16_t port, std::chrono::seconds lease) -> MapAnswer {
    if (!m_gateway) {
        int error = 0;
        // All searches go out at once and the answers are awaited once: searched one type after the
        // other, a LAN without a router would cost a second for each.
        UPNPDev* devices = upnpDiscoverDevices(kSearched, static_cast<int>(m_discovery.count()), nullptr,
                                               nullptr, UPNP_LOCAL_PORT_ANY, 0, 2, &error, 1);
        if (!devices)
            return {MapAnswer::Kind::Silent,
                    {},
                    error == UPNPDISCOVER_SUCCESS
                        ? "no UPnP device answered"
                        : "cannot search the LAN (error " + std::to_string(error) + ")"};
        auto gateway = std::make_unique<Gateway>();
#if MINIUPNPC_API_VERSION >= 18
        std::array<char, 64> wanAddress{};
        const int found =
            UPNP_GetValidIGD(devices, &gateway->urls, &gateway->data, gateway->lanAddress.data(),
                             static_cast<int>(gateway->lanAddress.size()), wanAddress.data(),
                             static_cast<int>(wanAddress.size()));
#else
        const int found =
            UPNP_GetValidIGD(devices, &gateway->urls, &gateway->data, gateway->lanAddress.data(),
                             static_cast<int>(gateway->lanAddress.size()));
#endif
        freeUPNPDevlist(devices);
        gateway->lanAddress.back() = '\0';
        if (found == 0)
            return {MapAnswer::Kind::Silent, {}, "no UPnP router answered"};
        if (found != 1)
            return {MapAnswer::Kind::Refused, {}, "the UPnP router is not connected to the internet"};
        std::array<char, 64> external{};
        const int status = UPNP_GetExternalIPAddress(gateway->urls.controlURL,
                                                     gateway->data.first.servicetype, external.data());
        external.back() = '\0';
        if (status != UPNPCOMMAND_SUCCESS)
            return {MapAnswer::Kind::Refused, {}, "the router did not tell its outside address"};
        const auto checked = check_external_address(external.data());
        if (!checked)
            return {MapAnswer::Kind::Refused, {}, "the router gave no usable outside address"};
        gateway->externalAddress = checked->text;
        m_gateway = std::move(gateway);
    }
    const std::string portText = std::to_string(port);
    const auto add = [&](const char* leaseText) {
        return UPNP_AddPortMapping(m_gateway->urls.controlURL, m_gateway->data.first.servicetype,
                                   portText.c_str(), portText.c_str(), m_gateway->lanAddress.data(),
                                   kDescription, "UDP", nullptr, leaseText);
    };
    const auto seconds = std::clamp<int64_t>(lease.count(), 1, 604800);
    int status = add(std::to_string(seconds).c_str());
    const bool permanent = status == kOnlyPermanentLeases; // an old router: mapped until removed
    if (permanent)
        status = add("0");
    if (status != UPNPCOMMAND_SUCCESS) {
        // A router that stopped answering: look for it again next time.
        const bool gone = status == UPNPCOMMAND_HTTP_ERROR || status == UPNPCOMMAND_UNKNOWN_ERROR;
        if (gone)
            m_gateway.reset();
        return {gone ? MapAnswer::Kind::Silent : MapAnswer::Kind::Refused,
                {},
                "the router refused the mapping: " + upnp_error_text(status)};
    }
    m_externalPort = port;
    return {MapAnswer::Kind::Granted,
            {m_gateway->externalAddress, port, std::chrono::seconds(permanent ? 0 : seconds)},
            {}};
}

auto UpnpMapper::unmap(uint16_t port) -> void {
    if (!m_gateway || m_externalPort != port)
        return;
    const std::string portText = std::to_string(port);
    UPNP_DeletePortMapping(m_gateway->urls.controlURL, m_gateway->data.first.servicetype, portText.c_str(),
                           "UDP", nullptr);
    m_externalPort = 0;
}

} // namespace korvath::session_tool
