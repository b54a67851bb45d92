#include "tools/session/net/hmac_sha256.hpp"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>

namespace korvath::session_tool {

namespace {

// The HMAC-SHA256 provider, opened once for the process.
auto hmac_provider() -> BCRYPT_ALG_HANDLE {
    static const BCRYPT_ALG_HANDLE provider = [] {
        BCRYPT_ALG_HANDLE handle = nullptr;
        if (BCryptOpenAlgorithmProvider(&handle, BCRYPT_SHA256_ALGORITHM, nullptr,
                                        BCRYPT_ALG_HANDLE_HMAC_FLAG) < 0)
            return BCRYPT_ALG_HANDLE{};
        return handle;
    }();
    if (!provider)
        throw std::runtime_error("BCrypt has no HMAC-SHA256 provider");
    return provider;
}

} // namespace

auto hmac_sha256(std::span<const uint8_t> key, std::span<const uint8_t> message) -> Sha256Tag {
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (BCryptCreateHash(hmac_provider(), &hash, nullptr, 0, const_cast<PUCHAR>(key.data()),
                         static_cast<ULONG>(key.size()), 0) < 0)
        throw std::runtime_error("BCryptCreateHash failed");
    Sha256Tag tag{};
    const bool done = BCryptHashData(hash, const_cast<PUCHAR>(message.data()),
                                     static_cast<ULONG>(message.size()), 0) >= 0 &&
                      BCryptFinishHash(hash, tag.data(), static_cast<ULONG>(tag.size()), 0) >= 0;
    BCryptDestroyHash(hash);
    if (!done)
        throw std::runtime_error("BCrypt HMAC-SHA256 failed");
    return tag;
}

auto tags_equal(const Sha256Tag& a, const Sha256Tag& b) -> bool {
    volatile uint8_t difference = 0;
    for (std::size_t index = 0; index < a.size(); ++index)
        difference = static_cast<uint8_t>(difference | (a[index] ^ b[index]));
    return difference == 0;
}

} // namespace korvath::session_tool
