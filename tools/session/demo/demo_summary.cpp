#include "tools/session/demo/demo_summary.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/report_lines.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace korvath::session_tool {

namespace {

auto value_or(const std::vector<ReportLine>& lines, std::string_view key, std::string_view fallback)
    -> std::string {
    return report_value(lines, key).value_or(std::string(fallback));
}

auto first_line(std::string_view text) -> std::string {
    const auto lines = parse_report(text);
    return lines.empty() ? std::string() : lines.front().text;
}

auto whole_number(const std::optional<std::string>& text) -> std::uint64_t {
    std::uint64_t value = 0;
    if (text)
        std::from_chars(text->data(), text->data() + text->size(), value);
    return value;
}

auto point_text(const std::vector<ReportLine>& lines, std::string_view prefix) -> std::string {
    std::string text(1, '(');
    for (const char* axis : {"X", "Y", "Z"}) {
        if (text.size() > 1)
            text += ", ";
        text += value_or(lines, std::string(prefix) + axis, "?");
    }
    return text + ")";
}

auto in_units(double value) -> std::string {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
}

} // namespace

auto read_client_reports(const std::filesystem::path& gameDir) -> ClientReports {
    const auto dir = exchange_dir_of(gameDir);
    return {read_whole_file(dir / "cpp_heartbeat.txt"), read_whole_file(dir / "cpp_phase5g_spawn.txt"),
            read_whole_file(dir / "cpp_phase5g_destroy.txt"),
            read_whole_file(dir / "cpp_phase5g_client_spawn.txt"),
            read_whole_file(dir / "cpp_phase5g_error.txt")};
}

auto summarize_client(std::string name, const ClientReports& reports) -> ClientSummary {
    ClientSummary summary;
    summary.name = std::move(name);
    if (reports.spawn) {
        const auto lines = parse_report(*reports.spawn);
        summary.proxySpawned = report_value(lines, "proxyActor") == "spawned";
        std::string& player = summary.remotePlayer;
        player.assign(1, '"').append(value_or(lines, "remoteDisplayName", "")).append("\" (");
        player.append(value_or(lines, "remotePlayerId", "")).append(", ");
        player.append(value_or(lines, "remoteMap", "")).append(")");
    }
    if (reports.destroy) {
        const auto lines = parse_report(*reports.destroy);
        summary.proxyDestroyed = report_value(lines, "proxyDestroyRequested") == "1";
        summary.destroyReason = value_or(lines, "destroyReason", "");
    }
    if (reports.clientSpawn) {
        const auto lines = parse_report(*reports.clientSpawn);
        summary.movedAside = report_value(lines, "localPawnMoved") == "1";
        summary.moveAsideText = point_text(lines, "original") + " -> " + point_text(lines, "destination");
    }
    std::optional<std::string> testFailed;
    if (reports.heartbeat) {
        const auto lines = parse_report(*reports.heartbeat);
        summary.moves = whole_number(report_value(lines, "movementUpdates"));
        testFailed = report_value(lines, "testFailed");
    }
    if (reports.error)
        summary.error = first_line(*reports.error);
    else if (testFailed == "1")
        summary.error = "the heartbeat shows testFailed=1";
    return summary;
}

auto proxy_text(const ClientSummary& summary) -> std::string {
    if (!summary.proxySpawned)
        return "no proxy spawned";
    std::string text = "proxy of " + summary.remotePlayer + " spawned, " + std::to_string(summary.moves) +
                       (summary.moves == 1 ? " move" : " moves");
    return text + (summary.proxyDestroyed ? ", destroyed: " + summary.destroyReason : ", not destroyed");
}

auto demo_problems(const ClientSummary& a, const ClientSummary& b, const FollowStats& follow,
                   const DemoExpectations& expected) -> std::vector<std::string> {
    std::vector<std::string> problems;
    if (!b.movedAside)
        problems.emplace_back("B did not move its pawn aside");
    for (const auto* client : {&a, &b}) {
        const std::string& wanted = client == &a ? expected.destroyReasonA : expected.destroyReasonB;
        const std::string who = client->name + "'s proxy";
        if (!client->proxySpawned)
            problems.push_back(who + " was never spawned");
        else if (client->moves == 0)
            problems.push_back(who + " never moved");
        if (client->proxySpawned && !client->proxyDestroyed)
            problems.push_back(who + " was not destroyed");
        else if (client->proxyDestroyed && client->destroyReason != wanted)
            problems.push_back(who + " was destroyed as \"" + client->destroyReason + "\", expected \"" +
                               wanted + "\"");
        if (client->error)
            problems.push_back(client->name + " reported an error: " + *client->error);
    }
    if (follow.count == 0)
        problems.emplace_back("no distance between A's pawn and B's proxy of A was measured while following");
    else if (!(follow.max <= expected.followLimit))
        problems.push_back("B's proxy of A fell up to " + in_units(follow.max) +
                           " units behind A's pawn while following (limit " + in_units(expected.followLimit) +
                           ")");
    return problems;
}

} // namespace korvath::session_tool
