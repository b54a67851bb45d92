#include "tools/soak/world_snapshots.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/text_fields.hpp"

#include <charconv>
#include <cstdio>

namespace korvath::soak {

namespace {

constexpr std::size_t kFieldCount = 12;
constexpr std::string_view kCharacterClass = "BP_PlayerCharacter_C";
constexpr std::string_view kPawnName = "BP_PlayerCharacter_C_0";
constexpr std::size_t kLongestLine = 4096; // a longer partial line is garbage and dropped

} // namespace

auto WorldSnapshots::feed(std::string_view bytes, const Sink& sink) -> void {
    m_partial.append(bytes);
    std::size_t start = 0;
    for (std::size_t end; (end = m_partial.find('\n', start)) != std::string::npos; start = end + 1)
        take_line(std::string_view(m_partial).substr(start, end - start), sink);
    m_partial.erase(0, start);
    if (m_partial.size() > kLongestLine)
        m_partial.clear();
}

auto WorldSnapshots::read_more(const std::filesystem::path& path, const Sink& sink) -> bool {
    std::FILE* file = os::open_file(path, "rb");
    if (!file)
        return false;
    bool ok = std::fseek(file, static_cast<long>(m_offset), SEEK_SET) == 0;
    char buffer[16384];
    while (ok) {
        const std::size_t count = std::fread(buffer, 1, sizeof buffer, file);
        m_offset += count;
        feed(std::string_view(buffer, count), sink);
        if (count < sizeof buffer)
            break;
    }
    ok = ok && std::ferror(file) == 0;
    std::fclose(file);
    return ok;
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
