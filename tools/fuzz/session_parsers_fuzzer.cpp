// The session tool's parsers on any bytes. A report splits into lines that put the text back together;
// and a local state the relay accepts must reach the other mod unchanged: formatted as a remote row,
// it must parse there to the same pose and map name.

#include "exchange/remote_players.hpp"
#include "tools/fuzz/fuzz_support.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/exchange/report_lines.hpp"

#include <algorithm>
#include <string>

namespace {

namespace tool = korvath::session_tool;
using korvath::fuzz::check;
using korvath::fuzz::same_bits;

auto check_report(std::string_view text) -> void {
    const auto lines = tool::parse_report(text);
    const std::size_t lineFeeds = static_cast<std::size_t>(std::ranges::count(text, '\n'));
    check(lines.size() == lineFeeds + (text.empty() || text.ends_with('\n') ? 0 : 1), "wrong line count");
    std::string rebuilt;
    for (const auto& line : lines) {
        check(line.text.find('\n') == std::string::npos, "a line holds a line feed");
        check(line.key.find('=') == std::string::npos, "a key holds '='");
        check(line.text == (line.hasValue ? line.key + "=" + line.value : line.key),
              "key and value lose text");
        const auto found = tool::report_value(lines, line.key);
        check(found.has_value() || !line.hasValue, "a key=value line is not found by its key");
        rebuilt += line.text;
        rebuilt += '\n';
    }
    // Only the one CR before each LF (or at the very end) may have gone.
    std::string stripped;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        stripped.append(line).push_back('\n');
    }
    check(rebuilt == stripped, "the lines do not give back the text");
}

auto check_relayed_row(std::string_view localState) -> void {
    const auto pose = tool::parse_local_state(localState);
    if (!pose)
        return;
    std::string row = tool::format_remote_player_row("player-b", "KESTREN CLIENT B", *pose);
    check(row.ends_with('\n') && std::ranges::count(row, '\n') == 1, "a row is not one line");
    row.pop_back();
    std::string_view line = row;
    if (line.ends_with('\r')) // as the mod's reader drops it
        line.remove_suffix(1);
    korvath::RemotePlayerState read;
    check(korvath::parse_remote_player_row(line, read), "the mod rejects a relayed row");
    check(read.playerId == "player-b" && read.displayName == "KESTREN CLIENT B", "id or name changed");
    check(same_bits(read.x, pose->x) && same_bits(read.y, pose->y) && same_bits(read.z, pose->z) &&
              same_bits(read.yaw, pose->yaw),
          "the relayed pose changed");
    check(read.mapName == pose->mapName, "the relayed map name changed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string_view bytes = korvath::fuzz::bytes_of(data, size);
    check_report(bytes);
    check_relayed_row(bytes);
    return 0;
}
