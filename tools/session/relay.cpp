#include "tools/session/relay.hpp"

#include "tools/session/periodic_loop.hpp"
#include "tools/session/relay_link.hpp"

#include <array>

namespace korvath::session_tool {

auto run_relay(const RelayOptions& options, std::ostream& log) -> int {
    const auto links = relay_links(options.gameDirA, options.gameDirB);
    constexpr std::array<const char*, 2> kDirections{"A -> B", "B -> A"};
    std::array<std::optional<RelayOutcome>, 2> lastOutcome;

    log << "relaying between A " << options.gameDirA.string() << " and B " << options.gameDirB.string()
        << " at " << options.hz << " Hz\n"
        << std::flush;
    const auto period = std::chrono::nanoseconds(std::chrono::seconds(1)) / options.hz;
    run_periodically(period, options.duration, [&] {
        const auto now = std::filesystem::file_time_type::clock::now();
        for (std::size_t side = 0; side < links.size(); ++side) {
            const RelayOutcome outcome = relay_local_state(links[side], now);
            if (lastOutcome[side] != outcome) {
                lastOutcome[side] = outcome;
                log << kDirections[side] << ": " << describe(outcome) << "\n" << std::flush;
            }
        }
    });
    log << "relay stopped\n" << std::flush;
    return 0;
}

} // namespace korvath::session_tool
