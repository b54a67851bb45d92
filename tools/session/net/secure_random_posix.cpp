#include "tools/session/net/secure_random.hpp"

#include <sodium.h>

#include <stdexcept>

namespace korvath::session_tool {

auto fill_secure_random(std::span<uint8_t> out) -> void {
    if (sodium_init() < 0)
        throw std::runtime_error("libsodium could not be initialised");
    randombytes_buf(out.data(), out.size());
}

} // namespace korvath::session_tool
