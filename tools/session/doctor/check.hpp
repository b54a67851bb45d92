#pragma once
// One finding of doctor: what was looked at, what it found and, when something is wrong, what to do.

#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

enum class Verdict {
    Ok,      // as it should be
    Note,    // worth knowing; no obstacle to a session
    Problem, // stands in the way of a session
};

struct Check {
    Verdict verdict = Verdict::Ok;
    std::string subject; // the file or folder concerned, relative to the game folder where it lies there
    std::string finding;
    std::string fix{}; // what to do; empty when nothing is to be done
};

using Checks = std::vector<Check>;

// `text` fit for one report line: control characters and bytes beyond ASCII become "?", and it is cut
// to `maxBytes` with "..." behind. For text read from files a player or a program wrote.
auto printable(std::string_view text, std::size_t maxBytes = 120) -> std::string;

// "ok   SUBJECT: FINDING", "FAIL SUBJECT: FINDING. Fix: FIX", "note ...", ended by a line feed.
auto format_check(const Check& check) -> std::string;

} // namespace korvath::session_tool
