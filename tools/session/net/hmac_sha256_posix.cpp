#include "tools/session/net/hmac_sha256.hpp"

#include <sodium.h>

#include <stdexcept>

namespace korvath::session_tool {

namespace {

auto ensure_sodium() -> void {
    static const bool ready = sodium_init() >= 0;
    if (!ready)
        throw std::runtime_error("libsodium could not be initialised");
}

} // namespace

auto hmac_sha256(std::span<const uint8_t> key, std::span<const uint8_t> message) -> Sha256Tag {
    ensure_sodium();
    crypto_auth_hmacsha256_state state;
    crypto_auth_hmacsha256_init(&state, key.data(), key.size());
    crypto_auth_hmacsha256_update(&state, message.data(), message.size());
    Sha256Tag tag{};
    crypto_auth_hmacsha256_final(&state, tag.data());
    sodium_memzero(&state, sizeof state);
    return tag;
}

auto tags_equal(const Sha256Tag& a, const Sha256Tag& b) -> bool {
    return sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace korvath::session_tool
