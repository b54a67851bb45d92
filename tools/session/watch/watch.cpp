#include "tools/session/watch/watch.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/client_snapshot.hpp"
#include "tools/session/link/periodic_loop.hpp"
#include "tools/session/watch/client_view.hpp"
#include "tools/session/watch/watch_desync.hpp"

#include <ctime>
#include <string>

namespace korvath::session_tool {

namespace {

constexpr std::chrono::milliseconds kPollPeriod{200};
constexpr std::string_view kClearScreen = "\x1b[H\x1b[2J";

auto local_time_text() -> std::string {
    const std::time_t now = std::time(nullptr);
    const std::tm parts = os::local_time(now);
    char text[16] = {};
    std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    return text;
}

} // namespace

auto run_watch(const WatchOptions& options, std::ostream& out) -> int {
    std::vector<ClientSnapshot> snapshots(options.gameDirs.size());
    // Two folders are taken as the two sides of one session, as the relay pairs them.
    std::optional<WatchDesync> desync;
    if (options.gameDirs.size() == 2)
        desync.emplace();
    bool first = true;
    std::string shown;
    run_periodically(kPollPeriod, options.duration, [&] {
        const auto now = std::filesystem::file_time_type::clock::now();
        if (desync)
            desync->update(options.gameDirs[0], options.gameDirs[1]);
        std::string view;
        for (std::size_t index = 0; index < options.gameDirs.size(); ++index) {
            snapshots[index] =
                take_client_snapshot(options.gameDirs[index], first ? nullptr : &snapshots[index], now);
            if (index > 0)
                view += "\n";
            view += render_client_view(snapshots[index], options.width);
            if (const auto meter = desync ? desync->text(index, now) : std::nullopt)
                view += "  desync        " + *meter + "\n";
        }
        first = false;
        if (view == shown)
            return;
        shown = view;
        if (options.redrawInPlace)
            out << kClearScreen << "korvath-session watch  " << local_time_text() << "  (Ctrl-C quits)\n\n";
        else
            out << "--- " << local_time_text() << " ---\n";
        out << view << (options.redrawInPlace ? "" : "\n") << std::flush;
    });
    return 0;
}

} // namespace korvath::session_tool
