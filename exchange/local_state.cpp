#include "exchange/local_state.hpp"

#include "exchange/exchange_directory.hpp"
#include "exchange/file_read_buffer.hpp"
#include "exchange/file_tests.hpp"
#include "exchange/text_fields.hpp"

#include <array>

namespace korvath {

namespace {

constexpr std::wstring_view kLocalStateFile = L"local_state.tsv";
constexpr int64_t kMaxAgeSeconds = 3;
// Only the first line counts; one longer than this is no pose, and the rest of the file is never read.
constexpr std::size_t kMaxFirstLineBytes = std::size_t{1} << 20;
// x, y, z, yaw, map name; further fields are ignored.
constexpr std::size_t kFields = 5;

} // namespace

auto is_local_state_fresh() -> bool {
    return is_exchange_file_fresh(kLocalStateFile, kMaxAgeSeconds);
}

auto read_local_state(LocalPlayerState& out) -> bool {
    try {
        FileReadBuffer file(kMaxFirstLineBytes);
        if (!file.read(exchangeDirectory, kLocalStateFile, fresh_since(kMaxAgeSeconds)))
            return false;

        const std::string_view bytes = file.bytes();
        const std::size_t lineEnd = bytes.find('\n');
        if (lineEnd == std::string_view::npos && file.truncated())
            return false;
        std::string_view line = bytes.substr(0, lineEnd);
        if (line.ends_with('\r'))
            line.remove_suffix(1);

        std::array<std::string_view, kFields> fields;
        if (split_tab_field_views(line, fields) < kFields)
            return false;
        LocalPlayerState state;
        if (!parse_float_text(fields[0], state.x) || !parse_float_text(fields[1], state.y) ||
            !parse_float_text(fields[2], state.z) || !parse_float_text(fields[3], state.yaw))
            return false;
        state.playerId = "local";
        state.displayName = clientRole.load() == kClientB ? "KESTREN CLIENT B" : "KESTREN CLIENT A";
        state.mapName = fields[4];
        state.valid = true;
        out = std::move(state);
        return true;
    } catch (...) {
        // Out of memory: no pose this time, like any other failed read.
        return false;
    }
}

} // namespace korvath
