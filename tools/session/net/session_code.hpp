#pragma once
// The session code the host prints and the joiner types: 15 random bytes in 24 base-32 characters
// (Crockford's alphabet, in six groups of four). The first 5 bytes are a per-session salt, the other
// 10 the secret (80 bits). Both sides derive the packet key from it:
//   key = HMAC-SHA256(secret, "korvath-session packet key v1" || salt)
// A code is as good as a password only while it is secret: anyone who has it can join.

#include "tools/session/net/hmac_sha256.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

inline constexpr std::size_t kSessionSaltBytes = 5;
inline constexpr std::size_t kSessionSecretBytes = 10;

struct SessionCode {
    std::array<uint8_t, kSessionSaltBytes + kSessionSecretBytes> bytes{};
};

using SessionKey = Sha256Tag;

auto generate_session_code() -> SessionCode;

// "ABCD-EFGH-..." in upper case.
auto format_session_code(const SessionCode& code) -> std::string;

// Accepts upper or lower case, with or without the dashes and spaces; O reads as 0, I and L as 1.
// Nothing when the text is not exactly 24 code characters.
auto parse_session_code(std::string_view text) -> std::optional<SessionCode>;

auto derive_session_key(const SessionCode& code) -> SessionKey;

} // namespace korvath::session_tool
