#include "tools/platform/os.hpp"

#include "tools/platform/command_line_windows.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <psapi.h>
#include <random>
#include <shellapi.h>
#include <stdexcept>

namespace korvath::os {

namespace {

auto utf8(std::wstring_view text) -> std::string {
    const std::u8string bytes = std::filesystem::path(text).u8string();
    return {bytes.begin(), bytes.end()};
}

} // namespace

auto this_executable() -> std::filesystem::path {
    std::wstring buffer(32768, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0 || length >= buffer.size())
        throw std::runtime_error("cannot find the path of this program");
    buffer.resize(length);
    return buffer;
}

auto utf8_arguments(int argc, char** argv) -> std::vector<std::string> {
    int count = 0;
    LPWSTR* wideArgs = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wideArgs)
        return {argv, argv + argc};
    std::vector<std::string> args;
    for (int i = 0; i < count; ++i)
        args.push_back(utf8(wideArgs[i]));
    LocalFree(wideArgs);
    return args;
}

auto use_binary_stdio() -> void {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

auto set_environment(const char* name, const char* value) -> void {
    // Both the C runtime's copy (getenv) and the process's own block (inherited by children).
    _wputenv_s(wide(name).c_str(), value ? wide(value).c_str() : L"");
    SetEnvironmentVariableW(wide(name).c_str(), value ? wide(value).c_str() : nullptr);
}

auto ignore_broken_pipe() -> void {}

auto make_temporary_directory(std::string_view prefix) -> std::filesystem::path {
    const std::filesystem::path base = std::filesystem::temp_directory_path();
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::filesystem::path dir =
            base / (std::string(prefix) + "-" + std::to_string(random() % 1'000'000'000u));
        if (CreateDirectoryW(dir.c_str(), nullptr))
            return dir;
    }
    throw std::runtime_error("cannot create a temporary directory in " + base.string());
}

auto open_file(const std::filesystem::path& path, const char* mode) -> std::FILE* {
    return _wfopen(path.c_str(), wide(mode).c_str());
}

auto read_shared(const std::filesystem::path& path) -> std::optional<std::string> {
    return read_shared_prefix(path, SIZE_MAX);
}

auto read_shared_prefix(const std::filesystem::path& path, std::size_t limit) -> std::optional<std::string> {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return std::nullopt;
    std::string content;
    char buffer[65536];
    DWORD got = 0;
    bool ok = true;
    while (content.size() <= limit && (ok = ReadFile(file, buffer, sizeof buffer, &got, nullptr)) && got > 0)
        content.append(buffer, got);
    CloseHandle(file);
    if (!ok)
        return std::nullopt;
    return content;
}

auto peak_resident_bytes() -> std::optional<uint64_t> {
    PROCESS_MEMORY_COUNTERS counters{};
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters))
        return std::nullopt;
    return static_cast<uint64_t>(counters.PeakWorkingSetSize);
}

auto thread_cpu_time() -> std::chrono::nanoseconds {
    FILETIME created, exited, kernel, user;
    if (!GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel, &user))
        return {};
    const auto units = [](const FILETIME& time) {
        return (static_cast<int64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    };
    return std::chrono::nanoseconds((units(kernel) + units(user)) * 100);
}

namespace {

// FILETIME counts 100-ns units from 1601-01-01; the system clock counts from 1970-01-01.
constexpr int64_t kUnixEpochInFileTimeUnits = 116444736000000000;
using FileTimeUnits = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;

} // namespace

auto last_write_time(const std::filesystem::path& path) -> std::optional<std::filesystem::file_time_type> {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    const auto units =
        static_cast<int64_t>((static_cast<uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32) |
                             data.ftLastWriteTime.dwLowDateTime);
    const std::chrono::sys_time<FileTimeUnits> system{FileTimeUnits(units - kUnixEpochInFileTimeUnits)};
    return std::chrono::file_clock::from_sys(system);
}

auto set_last_write_time(const std::filesystem::path& path, std::filesystem::file_time_type time) -> bool {
    const auto system = std::chrono::file_clock::to_sys(time);
    const auto units =
        static_cast<uint64_t>(std::chrono::duration_cast<FileTimeUnits>(system.time_since_epoch()).count() +
                              kUnixEpochInFileTimeUnits);
    const FILETIME written{static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
    const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool set = SetFileTime(file, nullptr, nullptr, &written);
    CloseHandle(file);
    return set;
}

auto local_time(std::time_t time) -> std::tm {
    std::tm parts{};
    localtime_s(&parts, &time);
    return parts;
}

auto run_and_wait(const std::filesystem::path& program, const std::vector<std::string>& args) -> int {
    // args[0] is this program's name for itself; the new process gets `program` in its place.
    std::wstring commandLine =
        command_line(program, std::vector<std::string>(args.begin() + (args.empty() ? 0 : 1), args.end()));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &process))
        throw std::runtime_error("cannot start " + program.string() + ": error " +
                                 std::to_string(GetLastError()));
    CloseHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 1;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hProcess);
    return static_cast<int>(status);
}

auto replace_process(const std::filesystem::path& program, const std::vector<std::string>& args) -> void {
    // Console control events reach the child, which ends on them; this process only waits for it.
    SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    std::exit(run_and_wait(program, args));
}

} // namespace korvath::os
