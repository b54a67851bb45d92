#include "tools/soak/world_snapshots.hpp"

#include "tools/session/exchange/text_fields.hpp"

#include <charconv>

namespace korvath::soak {

namespace {

constexpr std::size_t kFieldCount = 12;
constexpr std::string_view kCharacterClass = "BP_PlayerCharacter_C";
constexpr std::string_view kPawnName = "BP_PlayerCharacter_C_0";

} // namespace

auto WorldSnapshots::feed(std::string_view bytes, const Sink& sink) -> void {
    m_tail.feed(bytes, [&](std::string_view line) { take_line(line, sink); });
}

auto WorldSnapshots::read_more(const std::filesystem::path& path, const Sink& sink) -> bool {
    return m_tail.read_more(path, [&](std::string_view line) { take_line(line, sink); });
}

auto WorldSnapshots::take_line(std::string_view line, const Sink& sink) -> void {
    const auto fields = session_tool::split_tab_fields(line);
    if (fields.size() != kFieldCount)
        return;
    // A snapshot is told by its steady-clock time: after a stall the simulator may take two within one
    // millisecond, which the seconds field cannot tell apart.
    const std::string& clock = fields[kFieldCount - 1];
    if (clock != m_current) {
        if (!m_current.empty())
            sink(m_snapshot);
        m_current = clock;
        m_snapshot = WorldSnapshot{};
    }
    std::from_chars(clock.data(), clock.data() + clock.size(), m_snapshot.at);
    if (fields[2] == kCharacterClass && fields[10] == "1" &&
        !std::string_view(fields[1]).ends_with(kPawnName)) {
        ++m_snapshot.proxies;
        m_snapshot.proxy = fields[1];
    }
}

} // namespace korvath::soak
