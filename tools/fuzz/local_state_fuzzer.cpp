// The mod's local state reader on any file content, against the session tool's reading of the same
// bytes (the relay forwards what the tool accepts, so the two must agree): the same verdict, the same
// pose bit for bit, and the caller's record untouched on a failure.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "tools/fuzz/fuzz_support.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/local_state_sample.hpp"

namespace {

using korvath::fuzz::check;
using korvath::fuzz::same_bits;

const korvath::LocalPlayerState kUntouched{"before", "name", "map", 1, 2, 3, 4, false};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    korvath::exchangeDirectory = korvath::fuzz::scratch_directory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const auto path = korvath::exchange_path(L"local_state.tsv");
    const std::string_view bytes = korvath::fuzz::bytes_of(data, size);
    korvath::fuzz::write_input(path, bytes);

    korvath::LocalPlayerState read = kUntouched;
    const bool accepted = korvath::read_local_state(read);
    const auto expected = korvath::session_tool::parse_local_state(bytes);
    check(accepted == expected.has_value(), "the mod and the session tool disagree on the local state");
    if (!accepted) {
        check(read.playerId == kUntouched.playerId && read.mapName == kUntouched.mapName &&
                  read.x == kUntouched.x && !read.valid,
              "a failed read changed the record");
    } else {
        check(read.valid && read.playerId == "local" && read.displayName == "KESTREN CLIENT A",
              "the fixed fields are wrong");
        check(same_bits(read.x, expected->x) && same_bits(read.y, expected->y) &&
                  same_bits(read.z, expected->z) && same_bits(read.yaw, expected->yaw),
              "the pose differs");
        check(read.mapName == expected->mapName, "the map name differs");
    }
    // The timed sample reads the same pose, whatever its stamp fields hold.
    const auto sample = korvath::session_tool::parse_local_state_sample(bytes);
    check(sample.has_value() == expected.has_value(), "the sample and the pose disagree");
    check(!sample || (same_bits(sample->pose.x, expected->x) && sample->pose.mapName == expected->mapName),
          "the sample's pose differs");
    return 0;
}
