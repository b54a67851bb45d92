#include "tools/session/net/hmac_sha256.hpp"
#include "tools/session/net/session_code.hpp"

#include <gtest/gtest.h>

#include <string>

namespace st = korvath::session_tool;

namespace {

auto bytes(std::string_view text) -> std::vector<uint8_t> {
    return {text.begin(), text.end()};
}

auto hex(const st::Sha256Tag& tag) -> std::string {
    std::string text;
    for (const uint8_t byte : tag) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

} // namespace

// The published test vectors: libsodium and BCrypt must give the same tags, or a Linux peer and a
// Windows peer could never talk.
TEST(NetHmacSha256, GivesThePublishedTags) {
    EXPECT_EQ(hex(st::hmac_sha256(bytes("Jefe"), bytes("what do ya want for nothing?"))),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    const std::vector<uint8_t> longKey(131, 0xaa);
    EXPECT_EQ(hex(st::hmac_sha256(longKey, bytes("Test Using Larger Than Block-Size Key - Hash Key First"))),
              "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
}

// The printed code's round trip and a one-letter change of key show in the network session tests; here
// that codes differ, and what a person may type.
TEST(NetSessionCode, GeneratedCodesDifferAndTypedVariantsReadTheSame) {
    EXPECT_NE(st::generate_session_code().bytes, st::generate_session_code().bytes);
    // Lower case, without dashes, with O for 0 and I or L for 1.
    const auto code = *st::parse_session_code("0123-4567-89AB-CDEF-GHJK-MNPQ");
    for (const auto* typed : {"0123456789abcdefghjkmnpq", "O123 4567 89ab cdef ghjk mnpq",
                              "0I23-4567-89AB-CDEF-GHJK-MNPQ", "0l23-4567-89AB-CDEF-GHJK-MNPQ"}) {
        const auto parsed = st::parse_session_code(typed);
        ASSERT_TRUE(parsed) << typed;
        EXPECT_EQ(parsed->bytes, code.bytes) << typed;
    }
    for (const auto* bad : {"", "0123-4567-89AB-CDEF-GHJK-MNP", "0123-4567-89AB-CDEF-GHJK-MNPQR",
                            "0123-4567-89AB-CDEF-GHJK-MNPU", "0123\t4567-89AB-CDEF-GHJK-MNPQ"})
        EXPECT_FALSE(st::parse_session_code(bad)) << bad;
    EXPECT_FALSE(st::parse_session_code(std::string(1000, '-')));
}
