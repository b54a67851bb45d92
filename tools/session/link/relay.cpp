#include "tools/session/link/relay.hpp"

#include "tools/session/link/periodic_loop.hpp"
#include "tools/session/link/predicting_link.hpp"

#include <array>

namespace korvath::session_tool {

auto run_relay(const RelayOptions& options, std::ostream& log) -> int {
    const auto [aToB, bToA] = relay_links(options.gameDirA, options.gameDirB);
    std::array<PredictingLink, 2> links{PredictingLink(aToB, options.predict),
                                        PredictingLink(bToA, options.predict)};
    const int hz = options.hz > 0 ? options.hz : options.predict ? kPredictingRelayHz : kPlainRelayHz;
    constexpr std::array<const char*, 2> kDirections{"A -> B", "B -> A"};
    std::array<std::optional<RelayOutcome>, 2> lastOutcome;

    log << "relaying between A " << options.gameDirA.string() << " and B " << options.gameDirB.string()
        << " at " << hz << " Hz" << (options.predict ? ", predicting" : "") << "\n"
        << std::flush;
    const auto period = std::chrono::nanoseconds(std::chrono::seconds(1)) / hz;
    run_periodically(period, options.duration, [&] {
        const auto fileNow = std::filesystem::file_time_type::clock::now();
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        for (std::size_t side = 0; side < links.size(); ++side) {
            const RelayOutcome outcome = links[side].step(fileNow, now);
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
