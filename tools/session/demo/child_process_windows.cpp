#include "tools/session/demo/child_process.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "tools/platform/command_line_windows.hpp"

#include <stdexcept>
#include <thread>

namespace korvath::session_tool {

namespace {

constexpr std::chrono::milliseconds kReapPoll{10};

auto handle(std::intptr_t value) -> HANDLE {
    return reinterpret_cast<HANDLE>(value);
}

auto inheritable(HANDLE value) -> HANDLE {
    SetHandleInformation(value, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return value;
}

} // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& args,
                           const std::filesystem::path& logFile) {
    std::wstring commandLine = os::command_line(program, args);

    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const HANDLE log =
        CreateFileW(logFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    &inherit, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const HANDLE nul = CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                   OPEN_EXISTING, 0, nullptr);
    if (log == INVALID_HANDLE_VALUE || nul == INVALID_HANDLE_VALUE) {
        CloseHandle(log);
        CloseHandle(nul);
        throw std::runtime_error("cannot open " + logFile.string());
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inheritable(nul);
    startup.hStdOutput = inheritable(log);
    startup.hStdError = log;

    // The job ends the program and whatever it starts (the simulator relaunches itself) together.
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);

    PROCESS_INFORMATION process{};
    const BOOL started =
        CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                       CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED, nullptr, nullptr, &startup, &process);
    const DWORD error = GetLastError();
    CloseHandle(log);
    CloseHandle(nul);
    if (!started) {
        CloseHandle(job);
        throw std::runtime_error("cannot start " + program.string() + ": error " + std::to_string(error));
    }
    AssignProcessToJobObject(job, process.hProcess);
    const std::wstring stopName = L"Local\\korvath-stop-" + std::to_wstring(process.dwProcessId);
    m_stopEvent = reinterpret_cast<std::intptr_t>(CreateEventW(nullptr, TRUE, FALSE, stopName.c_str()));
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    m_process = reinterpret_cast<std::intptr_t>(process.hProcess);
    m_job = reinterpret_cast<std::intptr_t>(job);
    m_group = process.dwProcessId;
}

ChildProcess::~ChildProcess() {
    if (m_stopEvent != 0 && m_stopEvent != -1)
        CloseHandle(handle(m_stopEvent));
    if (m_job != -1) {
        TerminateJobObject(handle(m_job), 1);
        CloseHandle(handle(m_job));
    }
    if (m_process != -1) {
        WaitForSingleObject(handle(m_process), INFINITE);
        CloseHandle(handle(m_process));
    }
}

auto ChildProcess::poll() -> std::optional<int> {
    if (m_status || m_process == -1)
        return m_status;
    if (WaitForSingleObject(handle(m_process), 0) == WAIT_OBJECT_0) {
        DWORD status = 1;
        GetExitCodeProcess(handle(m_process), &status);
        m_status = static_cast<int>(status);
    }
    return m_status;
}

auto ChildProcess::wait() -> int {
    WaitForSingleObject(handle(m_process), INFINITE);
    return *poll();
}

auto ChildProcess::terminate(std::chrono::milliseconds grace) -> int {
    if (poll())
        return *m_status;
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, m_group);
    if (m_stopEvent != 0 && m_stopEvent != -1)
        SetEvent(handle(m_stopEvent));
    const auto deadline = std::chrono::steady_clock::now() + grace;
    while (!poll() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kReapPoll);
    if (!m_status) {
        TerminateJobObject(handle(m_job), 1);
        WaitForSingleObject(handle(m_process), INFINITE);
        poll();
    }
    return *m_status;
}

} // namespace korvath::session_tool
