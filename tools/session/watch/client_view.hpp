#pragma once
// The watch's text for one client: a heading, its inputs, then each report's lines packed into rows.

#include "tools/session/exchange/client_snapshot.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

// Joins `cells` by two blanks into rows of at most `width` columns; the first row starts with
// `label` padded to the label column, later rows with blanks. A longer cell gets a row of its own.
auto pack_cells(std::string_view label, const std::vector<std::string>& cells, std::size_t width)
    -> std::string;

auto render_client_view(const ClientSnapshot& snapshot, std::size_t width) -> std::string;

} // namespace korvath::session_tool
