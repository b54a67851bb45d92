// parse_float_field against the C library's strtof: the whole text must convert, without a range
// error, to a finite number. The mod's copy-free variant (parse_float_text, on a range that has no
// terminator after it) and the session tool's copy must agree with it bit for bit, and every accepted
// number must come back unchanged through the remote row the session tool's relay writes for it.

#include "exchange/remote_players.hpp"
#include "exchange/text_fields.hpp"
#include "tools/fuzz/fuzz_support.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/exchange/text_fields.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using korvath::fuzz::check;
using korvath::fuzz::same_bits;

struct Expected {
    bool accepted = false;
    float value = 0;
};

auto by_strtof(const std::string& text) -> Expected {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const float value = std::strtof(begin, &end);
    const bool consumedAll = end == begin + text.size();
    return {end != begin && errno != ERANGE && consumedAll && std::isfinite(value), value};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string text(korvath::fuzz::bytes_of(data, size));
    const Expected expected = by_strtof(text);

    float value = 0;
    check(korvath::parse_float_field(text, value) == expected.accepted,
          "parse_float_field differs from strtof");
    check(!expected.accepted || same_bits(value, expected.value), "parse_float_field's value differs");

    // The same bytes in a buffer of exactly their size: reading past them is an ASan report.
    const auto exact = std::make_unique<char[]>(size);
    std::copy(text.begin(), text.end(), exact.get());
    float viewValue = 0;
    check(korvath::parse_float_text({exact.get(), size}, viewValue) == expected.accepted,
          "parse_float_text differs from strtof");
    check(!expected.accepted || same_bits(viewValue, expected.value), "parse_float_text's value differs");

    float toolValue = 0;
    check(korvath::session_tool::parse_float_field(text, toolValue) == expected.accepted,
          "the session tool's parse_float_field differs from strtof");
    check(!expected.accepted || same_bits(toolValue, expected.value), "the session tool's value differs");

    if (expected.accepted) {
        // As the relay writes it into a remote row, and as the mod reads that row back.
        korvath::session_tool::PlayerPose pose;
        pose.x = pose.y = pose.z = pose.yaw = expected.value;
        pose.mapName = "Map_A";
        std::string row = korvath::session_tool::format_remote_player_row("p", "", pose);
        row.pop_back();
        korvath::RemotePlayerState read;
        check(korvath::parse_remote_player_row(row, read) && same_bits(read.x, expected.value) &&
                  same_bits(read.yaw, expected.value),
              "an accepted number does not come back through the row the relay writes");
    }
    return 0;
}
