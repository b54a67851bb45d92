#include "tools/session/doctor/exchange_checks.hpp"

#include "tools/session/doctor/install_checks.hpp"
#include "tools/session/doctor/small_file.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/report_lines.hpp"

#include <chrono>
#include <fstream>

namespace korvath::session_tool {

namespace fs = std::filesystem;
using std::chrono::seconds;

namespace {

constexpr std::uintmax_t kLargestReport = 64 * 1024;
// The mod rewrites its heartbeat every second, and calls its local state fresh up to 3 s old.
constexpr auto kFreshLimit = seconds(3);
// A temporary file lives for one write; one this old was left behind.
constexpr auto kStaleTemporary = seconds(10);
constexpr int kMostEntries = 1000;

struct Exchange {
    fs::path gameDir;
    fs::path dir;
    fs::file_time_type now;
    Checks& out;

    auto path(std::string_view name) const -> fs::path { return dir / name; }
    auto name(std::string_view file) const -> std::string { return name_in(gameDir, path(file)); }
    auto exists(std::string_view file) const -> bool {
        std::error_code error;
        return fs::exists(path(file), error);
    }
    auto age(std::string_view file) const -> std::optional<fs::file_time_type::duration> {
        return file_age(path(file), now);
    }
    auto report(std::string_view file) const -> std::optional<std::vector<ReportLine>> {
        const auto text = read_small_file(path(file), kLargestReport);
        if (!std::holds_alternative<std::string>(text))
            return std::nullopt;
        return parse_report(std::get<std::string>(text));
    }
    auto add(Verdict verdict, std::string_view file, std::string finding, std::string fix = {}) const
        -> void {
        out.push_back({verdict, name(file), std::move(finding), std::move(fix)});
    }
};

auto whole_seconds(fs::file_time_type::duration age) -> std::string {
    return std::to_string(std::chrono::duration_cast<seconds>(age).count()) + " s";
}

// Creates and removes a file in `dir`: the one sure test that the mod may write there.
auto can_write_in(const fs::path& dir) -> bool {
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    const fs::path probe = dir / ("korvath-doctor-" + std::to_string(ticks) + ".probe");
    bool written = false;
    {
        std::ofstream file(probe, std::ios::binary | std::ios::trunc);
        written = file.good();
    }
    std::error_code error;
    fs::remove(probe, error);
    return written;
}

auto check_writable(const Exchange& x) -> bool {
    const std::string fix = "let this user write in the game folder (not under a folder Windows guards, such "
                            "as Program Files, or run the game from elsewhere)";
    std::error_code error;
    const auto status = fs::status(x.dir, error);
    if (status.type() == fs::file_type::not_found) {
        if (can_write_in(x.gameDir))
            x.out.push_back({Verdict::Ok, name_in(x.gameDir, x.dir), "not there yet; the mod can create it"});
        else
            x.out.push_back({Verdict::Problem, name_in(x.gameDir, x.gameDir),
                             "this folder is not writable, so the mod cannot create KorvathOnline", fix});
        return false;
    }
    if (status.type() != fs::file_type::directory) {
        x.out.push_back({Verdict::Problem, name_in(x.gameDir, x.dir), "is no folder", "remove it"});
        return false;
    }
    if (!can_write_in(x.dir)) {
        x.out.push_back({Verdict::Problem, name_in(x.gameDir, x.dir), "not writable", fix});
        return false;
    }
    x.out.push_back({Verdict::Ok, name_in(x.gameDir, x.dir), "writable"});
    return true;
}

// The mod's reading: the first line, stripped of CR, LF, blanks and tabs at its end and of blanks and
// tabs at its start; "CLIENT_B" makes CLIENT_B, anything else CLIENT_A.
auto check_role(const Exchange& x) -> ClientRole {
    const std::string fix = "korvath-session role with this folder and CLIENT_A or CLIENT_B";
    const auto text = read_small_file(x.path(kRoleFile), 4096);
    if (const auto* problem = std::get_if<SmallFileProblem>(&text)) {
        if (*problem == SmallFileProblem::Missing)
            x.add(Verdict::Ok, kRoleFile, "none, so the mod is CLIENT_A");
        else
            x.add(Verdict::Problem, kRoleFile, std::string(describe(*problem)) + ", so the mod is CLIENT_A",
                  fix);
        return ClientRole::ClientA;
    }
    std::string_view line = std::get<std::string>(text);
    line = line.substr(0, line.find('\n'));
    while (!line.empty() &&
           (line.back() == '\r' || line.back() == ' ' || line.back() == '\t' || line.back() == '\n'))
        line.remove_suffix(1);
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t'))
        line.remove_prefix(1);
    const ClientRole role = line == "CLIENT_B" ? ClientRole::ClientB : ClientRole::ClientA;
    if (line == "CLIENT_A" || line == "CLIENT_B")
        x.add(Verdict::Ok, kRoleFile, std::string(line));
    else
        x.add(Verdict::Problem, kRoleFile,
              "holds \"" + printable(line, 40) + "\", which the mod reads as CLIENT_A", fix);
    const auto roleAge = x.age(kRoleFile);
    const auto loadedAge = x.age("cpp_mod_loaded.txt");
    const auto heartbeatAge = x.age("cpp_heartbeat.txt");
    if (roleAge && loadedAge && heartbeatAge && *roleAge < *loadedAge && *heartbeatAge <= kFreshLimit)
        x.add(Verdict::Note, kRoleFile, "written after the mod loaded, which reads it only then",
              "restart the game for the new role to count");
    return role;
}

auto check_markers(const Exchange& x) -> void {
    if (x.exists(kStopMarker))
        x.add(Verdict::Problem, kStopMarker, "the stop marker is there: no session starts while it is",
              "korvath-session resume with this folder, or the resume key in the game");
    if (x.exists(kEnableMarker))
        x.add(Verdict::Note, kEnableMarker,
              "the enable marker waits: a session starts 7 s after the player is loaded in a running game");
}

auto check_temporary_files(const Exchange& x) -> void {
    std::error_code error;
    int looked = 0;
    for (fs::directory_iterator it(x.dir, error);
         !error && it != fs::directory_iterator() && looked < kMostEntries; it.increment(error), ++looked) {
        const std::string file = it->path().filename().string();
        if (!file.ends_with(kTemporarySuffix))
            continue;
        const auto age = x.age(file);
        if (age && *age > kStaleTemporary)
            x.add(Verdict::Note, file, "a write that never finished (" + whole_seconds(*age) + " old)",
                  "delete it; if it comes back, another program (an antivirus) holds the exchange files");
    }
}

// The game's state from its reports. Returns whether the game runs now.
auto check_game(const Exchange& x) -> bool {
    const auto heartbeatAge = x.age("cpp_heartbeat.txt");
    const bool running = heartbeatAge && *heartbeatAge <= kFreshLimit;
    if (!x.exists("cpp_mod_loaded.txt") && !heartbeatAge) {
        x.add(Verdict::Note, "cpp_mod_loaded.txt",
              "the mod has not run in this game yet: start the game; if this stays missing, see UE4SS.log");
        return false;
    }
    if (!running) {
        x.add(Verdict::Note, "cpp_heartbeat.txt",
              heartbeatAge
                  ? "the game is not running (last heartbeat " + whole_seconds(*heartbeatAge) + " ago)"
                  : "the mod loaded but never ran its update: the host did not call it");
        return false;
    }
    x.add(Verdict::Ok, "cpp_heartbeat.txt",
          "the game is running (heartbeat " + whole_seconds(*heartbeatAge) + " old)");
    // cpp_unreal_ready.txt may be left from an earlier run; the heartbeat tells of this one.
    if (const auto heartbeat = x.report("cpp_heartbeat.txt");
        heartbeat && report_value(*heartbeat, "unrealReady") != "1")
        x.add(Verdict::Note, "cpp_heartbeat.txt", "the engine is not ready yet; nothing happens before it");
    const auto localAge = x.age(kLocalStateFile);
    if (!localAge)
        x.add(Verdict::Problem, kLocalStateFile, "the tracker writes no local state",
              "enable KorvathTracker and look for the line \"[KorvathTracker] writing ...\" in the UE4SS "
              "console");
    else if (*localAge > kFreshLimit)
        x.add(Verdict::Note, kLocalStateFile,
              whole_seconds(*localAge) + " old: no player is loaded (menu, loading) or the tracker stopped");
    else
        x.add(Verdict::Ok, kLocalStateFile, "fresh: the tracker works");
    return true;
}

auto check_session(const Exchange& x, bool running) -> void {
    const auto status = x.report(kStatusReport);
    if (running && status) {
        if (report_value(*status, "proxyActive") == "1")
            x.add(Verdict::Ok, kStatusReport, "the session is on and the proxy follows the other player");
        else if (report_value(*status, "sessionEnabled") == "1")
            x.add(Verdict::Ok, kStatusReport, "the session is on; no proxy yet (is the relay running?)");
    }
    if (const auto destroy = x.report(kDestroyReport))
        x.add(Verdict::Note, kDestroyReport,
              "the proxy was destroyed: " +
                  printable(report_value(*destroy, "destroyReason").value_or("?"), 60));
    const auto error = read_small_file(x.path("cpp_phase5g_error.txt"), kLargestReport);
    const bool failed = status && report_value(*status, "testFailed") == "1";
    if (const auto* message = std::get_if<std::string>(&error)) {
        x.add(Verdict::Problem, "cpp_phase5g_error.txt",
              "the mod failed: " + printable(message->substr(0, message->find('\n'))),
              "see the message; the next start of the game clears it");
    } else if (failed) {
        x.add(Verdict::Problem, kStatusReport, "testFailed=1: the mod failed, and its error report is gone",
              "see the UE4SS console; the next start of the game clears it");
    }
}

} // namespace

auto check_exchange(const fs::path& gameDir, fs::file_time_type now, Checks& out) -> ClientRole {
    const Exchange x{gameDir, exchange_dir_of(gameDir), now, out};
    const bool there = check_writable(x);
    const ClientRole role = check_role(x);
    if (!there)
        return role;
    check_markers(x);
    check_temporary_files(x);
    check_session(x, check_game(x));
    return role;
}

} // namespace korvath::session_tool
