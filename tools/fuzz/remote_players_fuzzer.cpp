// The mod's remote players reader on any file content, against a plain reading built from the session
// tool's field helpers: lines at LF, one CR dropped, the first line of at least seven fields with an id
// and four finite numbers wins. Each line's split and row parse must also agree with the tool's.

#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"
#include "exchange/text_fields.hpp"
#include "tools/fuzz/fuzz_support.hpp"
#include "tools/session/exchange/text_fields.hpp"

#include <array>
#include <optional>

namespace {

namespace tool = korvath::session_tool;
using korvath::RemotePlayerState;
using korvath::fuzz::check;
using korvath::fuzz::same_bits;

const RemotePlayerState kUntouched{"before", "name", "map", 1, 2, 3, 4, false};

auto plain_row(std::string_view line) -> std::optional<RemotePlayerState> {
    const auto fields = tool::split_tab_fields(line);
    RemotePlayerState row;
    if (fields.size() < 7 || fields[0].empty() || !tool::parse_float_field(fields[2], row.x) ||
        !tool::parse_float_field(fields[3], row.y) || !tool::parse_float_field(fields[4], row.z) ||
        !tool::parse_float_field(fields[5], row.yaw))
        return std::nullopt;
    row.playerId = fields[0];
    row.displayName = fields[1];
    row.mapName = fields[6];
    row.valid = true;
    return row;
}

auto same_row(const RemotePlayerState& a, const RemotePlayerState& b) -> bool {
    return a.playerId == b.playerId && a.displayName == b.displayName && a.mapName == b.mapName &&
           same_bits(a.x, b.x) && same_bits(a.y, b.y) && same_bits(a.z, b.z) && same_bits(a.yaw, b.yaw) &&
           a.valid == b.valid;
}

// Checks each line on its own and returns the first row of the file.
auto check_lines(std::string_view rest) -> std::optional<RemotePlayerState> {
    std::optional<RemotePlayerState> first;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);

        const auto fields = tool::split_tab_fields(line);
        check(korvath::split_tab_fields(line) == fields, "split_tab_fields differs from the tool's");
        std::array<std::string_view, 7> views;
        const std::size_t filled = korvath::split_tab_field_views(line, views);
        check(filled == std::min(fields.size(), views.size()), "split_tab_field_views counts wrong");
        for (std::size_t index = 0; index < filled; ++index)
            check(views[index] == fields[index], "split_tab_field_views differs");

        const auto expected = plain_row(line);
        RemotePlayerState row = kUntouched;
        check(korvath::parse_remote_player_row(line, row) == expected.has_value(),
              "parse_remote_player_row's verdict differs");
        check(same_row(row, expected ? *expected : kUntouched), "parse_remote_player_row's row differs");
        if (expected && !first)
            first = expected;
    }
    return first;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    korvath::exchangeDirectory = korvath::fuzz::scratch_directory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const auto path = korvath::exchange_path(L"remote_players.tsv");
    const std::string_view bytes = korvath::fuzz::bytes_of(data, size);
    korvath::fuzz::write_input(path, bytes);

    const auto expected = check_lines(bytes);
    RemotePlayerState read = kUntouched;
    check(korvath::read_remote_players(read) == expected.has_value(), "read_remote_players' verdict differs");
    check(same_row(read, expected ? *expected : kUntouched), "read_remote_players' row differs");
    return 0;
}
