#include "tools/session/net/session_code.hpp"

#include "tools/session/net/secure_random.hpp"

#include <span>

namespace korvath::session_tool {

namespace {

constexpr std::string_view kAlphabet = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr std::size_t kCodeChars = 24; // 15 bytes of 8 bits in characters of 5
constexpr std::size_t kGroupChars = 4;
constexpr std::string_view kKeyLabel = "korvath-session packet key v1";

auto digit_value(char c) -> int {
    if (c >= 'a' && c <= 'z')
        c = static_cast<char>(c - 'a' + 'A');
    if (c == 'O')
        c = '0';
    if (c == 'I' || c == 'L')
        c = '1';
    const auto position = kAlphabet.find(c);
    return position == std::string_view::npos ? -1 : static_cast<int>(position);
}

} // namespace

auto generate_session_code() -> SessionCode {
    SessionCode code;
    fill_secure_random(code.bytes);
    return code;
}

auto format_session_code(const SessionCode& code) -> std::string {
    std::string text;
    uint32_t buffer = 0;
    int bits = 0;
    std::size_t written = 0;
    for (const uint8_t byte : code.bytes) {
        buffer = (buffer << 8) | byte;
        bits += 8;
        while (bits >= 5) {
            bits -= 5;
            if (written > 0 && written % kGroupChars == 0)
                text.push_back('-');
            text.push_back(kAlphabet[(buffer >> bits) & 31U]);
            ++written;
        }
    }
    return text;
}

auto parse_session_code(std::string_view text) -> std::optional<SessionCode> {
    if (text.size() > 2 * kCodeChars)
        return std::nullopt;
    SessionCode code;
    uint32_t buffer = 0;
    int bits = 0;
    std::size_t chars = 0, bytes = 0;
    for (const char c : text) {
        if (c == '-' || c == ' ')
            continue;
        const int value = digit_value(c);
        if (value < 0 || ++chars > kCodeChars)
            return std::nullopt;
        buffer = (buffer << 5) | static_cast<uint32_t>(value);
        bits += 5;
        if (bits >= 8) {
            bits -= 8;
            code.bytes[bytes++] = static_cast<uint8_t>(buffer >> bits);
        }
    }
    if (chars != kCodeChars)
        return std::nullopt;
    return code;
}

auto derive_session_key(const SessionCode& code) -> SessionKey {
    const std::span<const uint8_t> all(code.bytes);
    const auto salt = all.first(kSessionSaltBytes);
    const auto secret = all.subspan(kSessionSaltBytes);
    std::array<uint8_t, kKeyLabel.size() + kSessionSaltBytes> message{};
    std::copy(kKeyLabel.begin(), kKeyLabel.end(), message.begin());
    std::copy(salt.begin(), salt.end(), message.begin() + kKeyLabel.size());
    return hmac_sha256(secret, message);
}

} // namespace korvath::session_tool
