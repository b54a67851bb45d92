#include "tools/session/exchange/client_controls.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"

#include <string>

namespace korvath::session_tool {

namespace fs = std::filesystem;

auto role_name(ClientRole role) -> std::string_view {
    return role == ClientRole::ClientB ? "CLIENT_B" : "CLIENT_A";
}

auto write_role_file(const fs::path& gameDir, ClientRole role) -> bool {
    return write_file_atomically(exchange_dir_of(gameDir) / kRoleFile, std::string(role_name(role)) + "\n");
}

// Only the existence of a marker counts; it is written empty.
auto place_enable_marker(const fs::path& gameDir) -> bool {
    return write_file_atomically(exchange_dir_of(gameDir) / kEnableMarker, "");
}

auto place_stop_marker(const fs::path& gameDir) -> bool {
    return write_file_atomically(exchange_dir_of(gameDir) / kStopMarker, "");
}

auto remove_stop_marker(const fs::path& gameDir) -> bool {
    std::error_code error;
    fs::remove(exchange_dir_of(gameDir) / kStopMarker, error);
    return !error;
}

} // namespace korvath::session_tool
