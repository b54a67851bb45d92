#include "session/heartbeat.hpp"

#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "mod/session_state.hpp"

#include <string>

namespace korvath {

namespace {
auto digit(const std::atomic<bool>& flag) -> char {
    return flag.load() ? '1' : '0';
}
} // namespace

auto write_heartbeat() -> void {
    std::string text;
    text.reserve(192);
    text += "running=1\n";
    text += "unrealReady=";
    text += digit(unrealReady);
    text += "\nsessionEnabled=";
    text += digit(sessionEnabled);
    text += "\nproxyActive=";
    text += digit(proxyActive);
    text += "\nremoteFresh=";
    text += digit(remoteFresh);
    text += "\nmovementUpdates=";
    text += std::to_string(movementUpdates.load());
    text += "\ntestFailed=";
    text += digit(testFailed);
    text += "\nclientRole=";
    text += clientRole.load() == kClientB ? "CLIENT_B" : "CLIENT_A";
    text += "\nclientBSpawnAdjusted=";
    text += digit(clientBSpawnAdjusted);
    text += '\n';
    write_text_file_atomically(exchange_path(L"cpp_heartbeat.txt"), text);
}

} // namespace korvath
