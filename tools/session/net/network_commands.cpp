#include "tools/session/net/network_commands.hpp"

#include "tools/session/link/periodic_loop.hpp"
#include "tools/session/net/net_session.hpp"
#include "tools/session/net/portmap/host_port_mapping.hpp"
#include "tools/session/watch/terminal.hpp"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace korvath::session_tool {

namespace {

constexpr int kExitFailure = 1;

auto session_options(PeerSide side, const std::filesystem::path& gameDir, const SessionCode& code, int poseHz,
                     bool predict, std::optional<std::chrono::nanoseconds> duration) -> NetSessionOptions {
    NetSessionOptions options;
    options.side = side;
    options.gameDir = gameDir;
    options.key = derive_session_key(code);
    options.poseHz = poseHz > 0 ? poseHz : kDefaultPoseHz;
    options.predict = predict;
    options.duration = duration;
    options.stop = stop_requested;
    options.liveStatus = stdout_is_terminal();
    return options;
}

// With a port mapping, it starts once the socket has its port and is removed when the session ends
// (also on an error: its destructor removes it).
auto run_session(NetSessionOptions options, std::ostream& out, const std::string& opening,
                 HostPortMapping* mapping = nullptr) -> int {
    install_stop_handlers();
    try {
        NetSession session(std::move(options));
        out << opening;
        if (mapping)
            mapping->start(session.local_port());
        const int status = session.run(out);
        if (mapping)
            mapping->stop(out);
        return status;
    } catch (const std::system_error& error) {
        std::cerr << "korvath-session: error: cannot open the UDP socket: " << error.what() << "\n";
        return kExitFailure;
    }
}

} // namespace

auto run_host(const HostCommand& command, std::ostream& out) -> int {
    const SessionCode code = generate_session_code();
    auto options = session_options(PeerSide::Host, command.gameDir, code, command.poseHz, command.predict,
                                   command.duration);
    options.port = command.port;
    const std::string opening = "session code: " + format_session_code(code) +
                                "\n(give it to the other player, with this machine's address)\n";
    if (!command.mapPort || std::getenv(kNoMapVariable))
        return run_session(std::move(options), out, opening);
    HostPortMapping mapping(format_session_code(code), command.mapLease);
    options.notes = [&mapping](std::chrono::nanoseconds now) { return mapping.notes(now); };
    return run_session(std::move(options), out, opening, &mapping);
}

auto run_join(const JoinCommand& command, std::ostream& out) -> int {
    UdpEndpoint host;
    try {
        host = resolve_host_address(command.host);
    } catch (const std::runtime_error& error) {
        std::cerr << "korvath-session: error: " << error.what() << "\n";
        return kExitFailure;
    }
    auto options = session_options(PeerSide::Joiner, command.gameDir, command.code, command.poseHz,
                                   command.predict, command.duration);
    options.host = host;
    return run_session(std::move(options), out, "joining " + format_endpoint(host) + "\n");
}

} // namespace korvath::session_tool
