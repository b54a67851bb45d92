#include "tools/session/net/secure_random.hpp"

#include <windows.h>

#include <bcrypt.h>

#include <stdexcept>

namespace korvath::session_tool {

auto fill_secure_random(std::span<uint8_t> out) -> void {
    if (BCryptGenRandom(nullptr, out.data(), static_cast<ULONG>(out.size()),
                        BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0)
        throw std::runtime_error("BCryptGenRandom failed");
}

} // namespace korvath::session_tool
