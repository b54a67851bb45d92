#include "tools/session/demo/world_trace.hpp"

#include "tools/session/exchange/text_fields.hpp"

#include <charconv>

namespace korvath::session_tool {

namespace {

constexpr std::string_view kCharacterClass = "BP_PlayerCharacter_C";
constexpr std::size_t kFieldCount = 11; // a twelfth, the steady clock, is optional

auto parse_number(const std::string& text, double& value) -> bool {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size();
}

} // namespace

auto WorldTrace::feed(std::string_view bytes) -> void {
    m_tail.feed(bytes, [this](std::string_view line) { take_line(line); });
}

auto WorldTrace::read_more(const std::filesystem::path& path) -> bool {
    return m_tail.read_more(path, [this](std::string_view line) { take_line(line); });
}

auto WorldTrace::take_line(std::string_view line) -> void {
    const auto fields = split_tab_fields(line);
    if (fields.size() < kFieldCount || fields.size() > kFieldCount + 1 || fields[2] != kCharacterClass)
        return;
    TraceSample sample;
    if (!parse_number(fields[0], sample.seconds) || !parse_number(fields[3], sample.x) ||
        !parse_number(fields[4], sample.y) || !parse_number(fields[5], sample.z))
        return;
    double monotonic = 0.0;
    if (!m_clockZero && fields.size() > kFieldCount && parse_number(fields[kFieldCount], monotonic))
        m_clockZero = monotonic - sample.seconds;
    if (m_pawnName.empty())
        m_pawnName = fields[1];
    if (fields[1] == m_pawnName)
        m_pawn.push_back(sample);
    else if (fields[10] == "1")
        m_proxy.push_back(sample);
}

} // namespace korvath::session_tool
