#pragma once
// Reads a file again only once it was rewritten, and from a client's status report the position its mod
// gives the proxy it shows: what the desync meters compare with the other player's pose.

#include "tools/session/watch/desync_meter.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace korvath::session_tool {

// The file's content with its last-write time, when it was rewritten since `seen` and did not change
// while it was read; `seen` then becomes that time.
auto read_if_rewritten(const std::filesystem::path& path,
                       std::optional<std::filesystem::file_time_type>& seen)
    -> std::optional<std::pair<std::string, std::filesystem::file_time_type>>;

// The applied position of an active proxy, from a status report's text.
auto shown_proxy_position(std::string_view statusReport) -> std::optional<Position>;

} // namespace korvath::session_tool
