#pragma once
// Why received datagrams were thrown away, counted by kind for the live status.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace korvath::session_tool {

enum class DropKind : std::size_t {
    Address,   // from an address other than the peer's
    Mac,       // the tag does not match the session key (wrong code, forged, damaged)
    Malformed, // authentic but not a valid packet
    Replay,    // authentic but from an earlier connection, or sent by this side itself
    Late,      // from the peer, but not newer than one already taken (duplicate or reordered)
};
inline constexpr std::size_t kDropKinds = 5;

auto drop_kind_name(DropKind kind) -> std::string_view;

struct DropCounts {
    std::array<uint64_t, kDropKinds> counts{};

    auto add(DropKind kind) -> void { ++counts[static_cast<std::size_t>(kind)]; }
    auto operator[](DropKind kind) const -> uint64_t { return counts[static_cast<std::size_t>(kind)]; }
    auto total() const -> uint64_t {
        uint64_t sum = 0;
        for (const auto count : counts)
            sum += count;
        return sum;
    }
};

inline auto drop_kind_name(DropKind kind) -> std::string_view {
    constexpr std::array<std::string_view, kDropKinds> kNames{"address", "mac", "malformed", "replay",
                                                              "late"};
    return kNames[static_cast<std::size_t>(kind)];
}

} // namespace korvath::session_tool
