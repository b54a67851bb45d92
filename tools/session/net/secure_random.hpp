#pragma once
// Unpredictable bytes from the operating system's generator (libsodium on Linux, BCrypt on Windows):
// session codes and connection nonces.

#include <cstdint>
#include <span>

namespace korvath::session_tool {

// Fills `out`; throws std::runtime_error when the generator fails.
auto fill_secure_random(std::span<uint8_t> out) -> void;

} // namespace korvath::session_tool
