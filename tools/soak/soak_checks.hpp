#pragma once
// What a soak run checks about one client, all along, from what it sees of the game: the world's
// snapshots, the heartbeat's rewrites and the status reports. Times are seconds of the steady clock,
// which the simulator's world log shares with this process. Each check counts what it looked at and
// keeps the worst case, so a run ends with figures, not just a verdict.
//
// On a machine shared with other work a process can be starved of the processor for seconds. The
// simulator writes its world snapshots ten times a second from a thread that never touches the mod, so
// a longer gap between snapshots shows that the whole game stood still; so does a late look by the soak
// run itself. A late heartbeat or a stale status within such a stall is counted as excused, not as a
// fault of the mod.

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace korvath::soak {

struct CheckLimits {
    double heartbeatGap = 1.5;     // seconds between two heartbeats at most
    double reportLag = 1.0;        // a status may disagree with the world for this long
    double observeDelay = 0.1;     // how late this process may see a report after it was written
    double stall = 0.5;            // a gap between world snapshots (10 a second) longer than this is a stall
    double hungAfter = 10.0;       // no heartbeat for this long while the game runs: it hangs
    int proxiesPerWorld = 1;       // living proxies in one world at most
    std::size_t keptProblems = 20; // problems kept with their text; the rest are only counted
};

struct CheckFigures {
    uint64_t worldSnapshots = 0;
    uint64_t snapshotsWithProxy = 0;
    int mostProxies = 0;
    uint64_t heartbeats = 0;
    double longestHeartbeatGap = 0.0;          // of all
    double longestUnexcusedHeartbeatGap = 0.0; // of those without a stall
    uint64_t excusedHeartbeatGaps = 0;
    uint64_t statusReports = 0;
    uint64_t statusChecked = 0; // those whose window of the world has been seen whole
    uint64_t statusExcused = 0; // of those, the ones with a stall in their window
    uint64_t stalls = 0;
    double longestStall = 0.0;
    uint64_t problems = 0;
};

class ClientChecks {
public:
    ClientChecks(std::string name, CheckLimits limits = {})
        : m_name(std::move(name))
        , m_limits(limits) {}

    // A snapshot of the world taken at `at` with `proxies` living proxies in it, one of them named
    // `proxy`. A proxy of another name than the last snapshot's was spawned after the last one went:
    // for a moment in between there was none.
    auto world(double at, int proxies, const std::string& proxy = {}) -> void;
    // The heartbeat was seen rewritten at `at`.
    auto heartbeat(double at) -> void;
    // A new status report seen at `at`, saying `proxyActive`.
    auto status(double at, bool proxyActive) -> void;
    // Checks what can be checked up to `now`: the time since the last heartbeat, and the status reports
    // whose window of world snapshots has passed.
    auto settle(double now) -> void;
    // The soak run itself could not look between `from` and `to`.
    auto stalled(double from, double to) -> void;

    auto figures() const -> const CheckFigures& { return m_figures; }
    auto problems() const -> const std::vector<std::string>& { return m_problems; }

private:
    struct Sample {
        double at;
        bool proxy;
    };
    struct PendingStatus {
        double at;
        bool proxyActive;
    };
    struct Span {
        double from, to;
    };
    auto problem(double at, const std::string& what) -> void;
    auto check_status(const PendingStatus& report) -> void;
    auto check_gap(const Span& gap) -> void;
    auto stall_within(double from, double to) const -> bool;

    std::string m_name;
    CheckLimits m_limits;
    CheckFigures m_figures;
    std::vector<std::string> m_problems;
    std::deque<Sample> m_samples;        // the world over the last few seconds
    std::deque<PendingStatus> m_pending; // status reports waiting for the world after them
    std::deque<Span> m_stalls;           // recent stalls
    std::deque<Span> m_gaps;             // long heartbeat gaps waiting for the world after them
    std::string m_lastProxy;
    std::optional<double> m_lastHeartbeat;
    bool m_hungReported = false; // once per gap
};

} // namespace korvath::soak
