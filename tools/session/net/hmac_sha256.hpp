#pragma once
// HMAC-SHA256 from the platform's maintained cryptographic library (libsodium on Linux, BCrypt on
// Windows), so that peers on either system compute the same tags.

#include <array>
#include <cstdint>
#include <span>

namespace korvath::session_tool {

using Sha256Tag = std::array<uint8_t, 32>;

auto hmac_sha256(std::span<const uint8_t> key, std::span<const uint8_t> message) -> Sha256Tag;

// Compares two tags in a time that does not depend on where they differ.
auto tags_equal(const Sha256Tag& a, const Sha256Tag& b) -> bool;

} // namespace korvath::session_tool
