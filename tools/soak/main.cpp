// korvath-soak: a long two-client session with the relay, disturbed on purpose and checked all along.

#include "tools/soak/soak_run.hpp"

#include <charconv>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kUsage =
    R"(Usage: korvath-soak [--seconds N] [--seed N] [--warmup N] [--dir DIR] [--keep]

Runs two simulated games with the mod (CLIENT_A walking a circle, CLIENT_B standing) and the relay
between them for N seconds (default 120), while a seeded stream of events disturbs the session: the
stop marker placed and removed, the enable marker toggled, the relay paused past the stale limit,
bursts of rewrites of the remote table, map changes, and engine faults that are cleared after a while.
Checked all along: both games alive, at most one proxy per world, a heartbeat at least every 1.5 s,
the status report's proxyActive matching the world within one second; at the end, no temporary file
left after the clean stop and resident memory grown by less than 1 MiB since the warm-up (default
60 s). Prints the figures; exits 0 when every check held, 1 when not, 2 on a bad command line.

  --seconds N   how long the session runs (default 120)
  --seed N      seed of the event stream (default 1); the same seed gives the same events
  --warmup N    seconds before the memory baseline is taken (default 60)
  --dir DIR     run in DIR (empty, or an earlier run's) instead of a fresh temporary directory
  --keep        keep the game folders and logs even when the run passed
)";

template <typename Number>
auto parse(std::string_view text, Number& value) -> bool {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size();
}

auto usage_error(const std::string& message) -> int {
    std::fprintf(stderr, "korvath-soak: %s\nTry 'korvath-soak --help'.\n", message.c_str());
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    korvath::soak::SoakOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage.data(), stdout);
            return 0;
        }
        if (arg == "--keep") {
            options.keep = true;
            continue;
        }
        if (i + 1 == argc)
            return usage_error(arg.starts_with("--") ? "option " + std::string(arg) + " needs a value"
                                                     : "unexpected argument '" + std::string(arg) + "'");
        const std::string_view value = argv[++i];
        bool ok = true;
        if (arg == "--seconds")
            ok = parse(value, options.seconds) && options.seconds > 0 && options.seconds <= 7 * 24 * 3600;
        else if (arg == "--seed")
            ok = parse(value, options.seed);
        else if (arg == "--warmup")
            ok = parse(value, options.warmupSeconds) && options.warmupSeconds >= 0;
        else if (arg == "--dir")
            options.dir = std::string(value);
        else
            return usage_error("unknown option '" + std::string(arg) + "'");
        if (!ok || value.empty())
            return usage_error("invalid value '" + std::string(value) + "' for " + std::string(arg));
    }
    try {
        return korvath::soak::run_soak(options, std::cout);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korvath-soak: %s\n", error.what());
        return 2;
    }
}
