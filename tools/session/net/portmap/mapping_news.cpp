#include "tools/session/net/portmap/mapping_news.hpp"

#include "tools/session/net/portmap/external_address.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

auto duration_text(std::chrono::nanoseconds value) -> std::string {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(value).count();
    return seconds >= 120 ? std::to_string(seconds / 60) + " min"
                          : std::to_string(std::max<int64_t>(seconds, 0)) + " s";
}

auto join_line(const std::string& address, const JoinHint& hint) -> std::string {
    return "  korvath-session join " + address + " DIR --code " + hint.code;
}

auto by_hand(const JoinHint& hint) -> std::vector<std::string> {
    const std::string port = std::to_string(hint.port);
    std::vector<std::string> lines{
        "to play over the internet, forward UDP port " + port +
            " to this PC by hand in the router's settings",
        "(the other player then joins this network's outside address, port " + port +
            "), or join over a VPN overlay and use this PC's address on it.",
        "on this network the other player joins with this PC's address:", join_line("ADDRESS:" + port, hint)};
    for (const std::string& address : hint.ipv6)
        lines.push_back(join_line("[" + address + "]:" + port, hint) + "   (over IPv6)");
    return lines;
}

} // namespace

auto mapping_news(const MappingView& view, const JoinHint& hint) -> std::vector<std::string> {
    const std::string port = std::to_string(hint.port);
    const auto asked =
        std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(view.askedFor).count());
    std::vector<std::string> lines;
    switch (view.state) {
    case MappingState::Trying:
        break;
    case MappingState::Mapped: {
        const std::string external =
            view.grant.externalAddress + ":" + std::to_string(view.grant.externalPort);
        const std::string lease = view.leaseEnds ? "lease " + duration_text(view.grant.lease) : "no lease";
        if (view.renewals > 0)
            return {"port mapping renewed (" + view.protocol + ", " + lease + ")"};
        lines.push_back("the router forwards UDP " + external + " to this PC's port " + port + " (" +
                        view.protocol + ", " + lease + "); the other player joins with");
        lines.push_back(join_line(external, hint));
        for (const std::string& address : hint.ipv6)
            lines.push_back(join_line("[" + address + "]:" + port, hint) + "   (over IPv6)");
        const auto checked = check_external_address(view.grant.externalAddress);
        if (checked && checked->scope == AddressScope::Private)
            lines.push_back("the router's outside address is private: another router stands before the "
                            "internet, where UDP port " +
                            std::to_string(view.grant.externalPort) + " must be forwarded by hand");
        return lines;
    }
    case MappingState::NoRouter:
        lines.push_back("no router answered a port mapping request (asked for " + asked +
                        " ms: " + view.detail + ").");
        break;
    case MappingState::Refused:
        lines.push_back("the router refused to forward UDP port " + port + " (" + view.detail + ").");
        break;
    case MappingState::Lost:
        lines.push_back("the router no longer keeps the port mapping (" + view.detail +
                        "); asking again in " + duration_text(kAskAgainAfter) + ".");
        break;
    case MappingState::Removed:
        return {"port mapping removed"};
    }
    const auto help = by_hand(hint);
    lines.insert(lines.end(), help.begin(), help.end());
    return lines;
}

auto mapping_status(const MappingView& view, std::chrono::nanoseconds now) -> std::string {
    switch (view.state) {
    case MappingState::Trying:
        return "asking the router to map the port";
    case MappingState::Mapped:
        return view.protocol + " " + view.grant.externalAddress + ":" +
               std::to_string(view.grant.externalPort) +
               (view.leaseEnds ? ", lease " + duration_text(*view.leaseEnds - now) + " left" : ", no lease");
    case MappingState::NoRouter:
        return "no port mapping: no router answered";
    case MappingState::Refused:
        return "no port mapping: the router refused";
    case MappingState::Lost:
        return "port mapping lost";
    case MappingState::Removed:
        return "port mapping removed";
    }
    return {};
}

} // namespace korvath::session_tool
