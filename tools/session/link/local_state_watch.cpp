#include "tools/session/link/local_state_watch.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/exchange/exchange_names.hpp"

namespace korvath::session_tool {

LocalStateWatch::LocalStateWatch(const RelayLink& link)
    : m_link(link)
    , m_file(exchange_dir_of(link.fromGameDir) / kLocalStateFile) {}

auto LocalStateWatch::read(std::filesystem::file_time_type now) -> RelaySource {
    const auto lastWrite = os::last_write_time(m_file);
    if (!lastWrite) {
        m_readWrite.reset();
        return {std::nullopt, {}, RelayOutcome::Missing};
    }
    const auto age = now - *lastWrite;
    if (age > kLocalStateMaxAge)
        return {std::nullopt, {}, RelayOutcome::Stale};
    if (m_readAgain || m_readWrite != lastWrite) {
        m_read = read_relay_file(m_link, age);
        m_readWrite = lastWrite;
        m_readAgain = age < kWriteSettle;
    }
    RelaySource source = m_read;
    source.age = age;
    return source;
}

} // namespace korvath::session_tool
