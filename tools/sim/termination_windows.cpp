#include "tools/sim/termination.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cwchar>
#include <string>

namespace korvath::sim {

namespace {

HANDLE terminationEvent = nullptr;
HANDLE stopRequest = nullptr;
// Set by the first process for the copy of itself it runs from the game folder: the stop event is named
// after the process the session tool started.
constexpr const wchar_t* kStopOwnerVariable = L"KORVATH_SIM_STOP_OWNER";
std::atomic<DWORD> terminationKind{0};

// Runs on a thread of its own that the system starts for the event.
auto WINAPI on_console_event(DWORD kind) -> BOOL {
    terminationKind.store(kind);
    SetEvent(terminationEvent);
    // A closing console kills the process once this returns: give the main thread time to finish.
    if (kind == CTRL_CLOSE_EVENT)
        Sleep(5000);
    return TRUE;
}

auto event_name(DWORD kind) -> std::string {
    switch (kind) {
    case CTRL_C_EVENT:
        return "Ctrl+C";
    case CTRL_BREAK_EVENT:
        return "Ctrl+Break";
    default:
        return "console closed";
    }
}

} // namespace

auto prepare_termination_for_copy() -> void {
    if (GetEnvironmentVariableW(kStopOwnerVariable, nullptr, 0) == 0)
        SetEnvironmentVariableW(kStopOwnerVariable, std::to_wstring(GetCurrentProcessId()).c_str());
}

auto block_termination_signals() -> void {
    terminationEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(on_console_event, TRUE);
    wchar_t owner[32] = {};
    if (GetEnvironmentVariableW(kStopOwnerVariable, owner, 32) == 0)
        swprintf(owner, 32, L"%lu", GetCurrentProcessId());
    stopRequest = CreateEventW(nullptr, TRUE, FALSE, (std::wstring(L"Local\\korvath-stop-") + owner).c_str());
}

auto wait_for_termination(std::optional<double> seconds) -> std::string {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds.value_or(0));
    for (;;) {
        DWORD timeout = INFINITE;
        if (seconds) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return "end of --duration";
            timeout = static_cast<DWORD>(left.count());
        }
        const HANDLE events[] = {terminationEvent, stopRequest};
        const DWORD woken = WaitForMultipleObjects(stopRequest ? 2 : 1, events, FALSE, timeout);
        if (woken == WAIT_OBJECT_0)
            return event_name(terminationKind.load());
        if (woken == WAIT_OBJECT_0 + 1)
            return "stop request";
    }
}

} // namespace korvath::sim
