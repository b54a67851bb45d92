#include "tools/session/exchange/log_tail.hpp"

#include "tools/platform/os.hpp"

#include <cstdio>

namespace korvath::session_tool {

auto LogTail::feed(std::string_view bytes, const LineSink& sink) -> void {
    m_partial.append(bytes);
    std::size_t start = 0;
    for (std::size_t end; (end = m_partial.find('\n', start)) != std::string::npos; start = end + 1)
        sink(std::string_view(m_partial).substr(start, end - start));
    m_partial.erase(0, start);
    if (m_partial.size() > kLongestLine)
        m_partial.clear();
}

auto LogTail::read_more(const std::filesystem::path& path, const LineSink& sink) -> bool {
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

} // namespace korvath::session_tool
