#include "exchange/remote_players.hpp"

#include "exchange/exchange_directory.hpp"
#include "exchange/file_read_buffer.hpp"
#include "exchange/file_tests.hpp"
#include "exchange/text_fields.hpp"

#include <array>

namespace korvath {

namespace {

constexpr std::wstring_view kRemotePlayersFile = L"remote_players.tsv";
constexpr int64_t kMaxAgeSeconds = 2;
// Bytes read per poll at most; only the complete lines within them are looked at.
constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;
// id, display name, x, y, z, yaw, map name; further fields are ignored.
constexpr std::size_t kFields = 7;

// A parsed row whose strings still point into the line.
struct RowView {
    std::string_view playerId;
    std::string_view displayName;
    std::string_view mapName;
    float x{};
    float y{};
    float z{};
    float yaw{};
};

auto parse_row_view(std::string_view line, RowView& row) -> bool {
    std::array<std::string_view, kFields> fields;
    if (split_tab_field_views(line, fields) < kFields || fields[0].empty())
        return false;
    row.playerId = fields[0];
    row.displayName = fields[1];
    row.mapName = fields[6];
    return parse_float_text(fields[2], row.x) && parse_float_text(fields[3], row.y) &&
           parse_float_text(fields[4], row.z) && parse_float_text(fields[5], row.yaw);
}

// Assigned in place, so that a record polled again and again reuses its strings' storage.
auto assign_record(const RowView& view, RemotePlayerState& record) -> void {
    record.playerId.assign(view.playerId);
    record.displayName.assign(view.displayName);
    record.mapName.assign(view.mapName);
    record.x = view.x;
    record.y = view.y;
    record.z = view.z;
    record.yaw = view.yaw;
    record.valid = true;
}

} // namespace

auto parse_remote_player_row(std::string_view line, RemotePlayerState& row) -> bool {
    try {
        RowView view;
        if (!parse_row_view(line, view))
            return false;
        assign_record(view, row);
        return true;
    } catch (...) {
        return false;
    }
}

auto read_remote_players(RemotePlayerState& out) -> bool {
    try {
        // The age is tested on the opened file, which also spares the tick a separate path lookup.
        FileReadBuffer file(kMaxFileBytes);
        if (!file.read(exchangeDirectory, kRemotePlayersFile, fresh_since(kMaxAgeSeconds)))
            return false;

        std::string_view rest = file.bytes();
        if (file.truncated()) {
            // The last line read is cut off; it could parse as a row that the file does not hold.
            const std::size_t lastLineFeed = rest.rfind('\n');
            rest = lastLineFeed == std::string_view::npos ? std::string_view{} : rest.substr(0, lastLineFeed);
        }
        // The first row that parses wins and no later line can replace it, so the scan ends there.
        while (!rest.empty()) {
            const std::size_t lineEnd = rest.find('\n');
            std::string_view line = rest.substr(0, lineEnd);
            rest = lineEnd == std::string_view::npos ? std::string_view{} : rest.substr(lineEnd + 1);
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            RowView row;
            if (parse_row_view(line, row)) {
                assign_record(row, out);
                return true;
            }
        }
        return false;
    } catch (...) {
        // Out of memory: no remote data for this poll, like any other failed read.
        return false;
    }
}

} // namespace korvath
