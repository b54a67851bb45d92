#include "exchange/platform.hpp"

#include "exchange/file_time_windows.hpp"
#include "exchange/joined_path.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>

namespace korvath::platform {

namespace {

constexpr DWORD kPathBufferSize = 32768;

auto last_write_of(const wchar_t* path) noexcept -> std::optional<int64_t> {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path, GetFileExInfoStandard, &data))
        return std::nullopt;
    return file_time_of(data.ftLastWriteTime);
}

// Renames with POSIX semantics (Windows 10 1809 and later, on NTFS): the target is replaced even while
// a reader holds it open with delete sharing, which a plain MoveFileExW refuses.
auto rename_replacing_open_target(const std::filesystem::path& from, const std::filesystem::path& to)
    -> bool {
    constexpr DWORD kReplaceIfExists = 0x1;
    constexpr DWORD kPosixSemantics = 0x2;
    constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    const std::wstring& target = to.native();
    const std::size_t bytes = offsetof(FILE_RENAME_INFO, FileName) + (target.size() + 1) * sizeof(wchar_t);
    auto storage = std::make_unique<std::max_align_t[]>(bytes / sizeof(std::max_align_t) + 1);
    auto* info = reinterpret_cast<FILE_RENAME_INFO*>(storage.get());
    info->Flags = kReplaceIfExists | kPosixSemantics;
    info->RootDirectory = nullptr;
    info->FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
    std::copy(target.begin(), target.end(), info->FileName);
    info->FileName[target.size()] = L'\0';
    const HANDLE file = CreateFileW(from.c_str(), DELETE | SYNCHRONIZE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool renamed = SetFileInformationByHandle(file, kFileRenameInfoEx, info, static_cast<DWORD>(bytes));
    CloseHandle(file);
    return renamed;
}

auto read_whole(const std::filesystem::path& path, std::string& out) -> bool {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    LARGE_INTEGER size{};
    bool ok = GetFileSizeEx(file, &size) && size.QuadPart < (1 << 30);
    if (ok) {
        out.resize(static_cast<std::size_t>(size.QuadPart));
        DWORD got = 0;
        ok = out.empty() ||
             (ReadFile(file, out.data(), static_cast<DWORD>(out.size()), &got, nullptr) && got == out.size());
    }
    CloseHandle(file);
    return ok;
}

auto is_separator(wchar_t c) -> bool {
    return c == L'\\' || c == L'/';
}

} // namespace

auto executable_path() -> std::optional<std::filesystem::path> {
    // 64 KiB: too large for the stack of a host thread, so it lives on the heap for this one call.
    auto buffer = std::make_unique<wchar_t[]>(kPathBufferSize);
    const DWORD length = GetModuleFileNameW(nullptr, buffer.get(), kPathBufferSize);
    if (length == 0 || length >= kPathBufferSize)
        return std::nullopt;
    return std::filesystem::path(std::wstring(buffer.get(), length));
}

auto extended_length_path(std::filesystem::path path) -> std::filesystem::path {
    const std::wstring& text = path.native();
    // Short paths stay as they are: the C runtime's file functions do not all take the prefix. The
    // margin covers "\KorvathOnline\" and the longest report name with ".tmp".
    constexpr std::size_t kRoomForExchangeFiles = 64;
    if (text.size() + kRoomForExchangeFiles < MAX_PATH ||
        (text.size() >= 4 && text.compare(0, 4, L"\\\\?\\") == 0))
        return path;
    // A drive path "C:\..." becomes "\\?\C:\...", a share "\\server\share\..." becomes
    // "\\?\UNC\server\share\...". The prefix turns off the normalisation of "/", "." and "..", so the
    // path is made canonical first.
    const bool drive = text.size() >= 3 && text[1] == L':' && is_separator(text[2]);
    const bool share = text.size() >= 3 && is_separator(text[0]) && is_separator(text[1]) &&
                       text[2] != L'?' && text[2] != L'.';
    if (!drive && !share)
        return path;
    std::wstring normal = path.lexically_normal().make_preferred().native();
    if (share)
        return std::filesystem::path(L"\\\\?\\UNC\\" + normal.substr(2));
    return std::filesystem::path(L"\\\\?\\" + normal);
}

auto write_new_file(const std::filesystem::path& path, std::string_view content) -> bool {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    bool ok = true;
    while (ok && !content.empty()) {
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(content.size(), 1u << 30));
        DWORD written = 0;
        ok = WriteFile(file, content.data(), chunk, &written, nullptr) && written > 0;
        content.remove_prefix(written);
    }
    return CloseHandle(file) && ok;
}

auto replace_file(const std::filesystem::path& from, const std::filesystem::path& to) -> bool {
    constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    // Replaces the target in one step, so a reader sees the old report or the new one.
    if (rename_replacing_open_target(from, to) || MoveFileExW(from.c_str(), to.c_str(), kFlags))
        return true;
    // A reader without delete sharing blocks that: remove the target, then move again.
    DeleteFileW(to.c_str());
    if (MoveFileExW(from.c_str(), to.c_str(), kFlags))
        return true;
    // The target cannot be removed while that reader holds it: write the bytes over it in place, as the
    // reader's sharing of write access allows.
    std::string content;
    if (!read_whole(from, content) || !write_new_file(to, content))
        return false;
    DeleteFileW(from.c_str());
    return true;
}

auto last_write_file_time_in(const std::filesystem::path& directory, std::wstring_view name) noexcept
    -> std::optional<int64_t> {
    const JoinedPath path(directory, name);
    return path.c_str() ? last_write_of(path.c_str()) : std::nullopt;
}

auto last_write_file_time(const std::filesystem::path& path) -> std::optional<int64_t> {
    return last_write_of(path.c_str());
}

auto system_file_time_now() -> int64_t {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return file_time_of(now);
}

} // namespace korvath::platform
