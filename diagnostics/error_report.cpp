#include "diagnostics/error_report.hpp"

#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "host/console.hpp"
#include "mod/session_state.hpp"

#include <string>

namespace korvath {

auto write_error_report(std::string_view message) -> void {
    testFailed.exchange(true);
    std::string text;
    text.reserve(message.size() + 1);
    text.append(message);
    text.push_back('\n');
    write_text_file_atomically(exchange_path(L"cpp_phase5g_error.txt"), text);
    log_to_console(L"[KorvathOnlineCpp] Phase 5G failed; see cpp_phase5g_error.txt for details.\n",
                   RC::LogLevel::Error);
}

} // namespace korvath
