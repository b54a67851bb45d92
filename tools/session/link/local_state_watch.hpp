#pragma once
// A client's local_state.tsv as the relay and the network link read it, many times a second: the file's
// last write is looked at every time, its bytes are read again only when that changed. A write seen
// younger than kWriteSettle is read once more at the next look, since a coarse file clock may give the
// same time to two writes close together.

#include "tools/session/link/relay_link.hpp"

#include <chrono>
#include <filesystem>
#include <optional>

namespace korvath::session_tool {

inline constexpr std::chrono::milliseconds kWriteSettle{5};

class LocalStateWatch {
public:
    explicit LocalStateWatch(const RelayLink& link);

    // What read_relay_source(link, now) gives, from the last read when the file is unchanged.
    auto read(std::filesystem::file_time_type now) -> RelaySource;

private:
    RelayLink m_link;
    std::filesystem::path m_file;
    std::optional<std::filesystem::file_time_type> m_readWrite; // the last write of the bytes read
    bool m_readAgain = true;
    RelaySource m_read;
};

} // namespace korvath::session_tool
