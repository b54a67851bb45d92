#pragma once
// The operating-system calls the simulator, the session tool and the test programs share. Paths and
// arguments are UTF-8 on every platform; the Windows side converts to wide strings at each call.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::os {

// A path from UTF-8 text. A plain std::string would be read in the ANSI code page on Windows, while
// path::string() gives UTF-8 there: paths that pass through text must come back through this.
inline auto utf8_path(std::string_view text) -> std::filesystem::path {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

// Full path of the running executable.
auto this_executable() -> std::filesystem::path;

// The program's arguments (argv[0] included) as UTF-8, whatever the system's code page.
auto utf8_arguments(int argc, char** argv) -> std::vector<std::string>;

// Standard output and error pass bytes unchanged (no CRLF translation on Windows), so the tools' logs
// read the same on every platform.
auto use_binary_stdio() -> void;

// Sets an environment variable of this process; a null value removes it.
auto set_environment(const char* name, const char* value) -> void;

// A writer to a closed pipe gets an error instead of being killed (no-op where there is no SIGPIPE).
auto ignore_broken_pipe() -> void;

// Creates a new empty directory "<prefix>-XXXXXX" in the system's temporary folder. Throws
// std::runtime_error on failure.
auto make_temporary_directory(std::string_view prefix) -> std::filesystem::path;

// std::fopen for any path, wide ones included.
auto open_file(const std::filesystem::path& path, const char* mode) -> std::FILE*;

// The whole file as raw bytes; nothing when it cannot be opened or read, or (on POSIX) is no regular
// file: a FIFO or a device. Never blocks on a FIFO. The file stays open to others'
// writes, renames and deletions meanwhile (on Windows every share flag), so a reader never makes the
// mod's replacement of a report fail.
auto read_shared(const std::filesystem::path& path) -> std::optional<std::string>;
// The same, stopping once more than `limit` bytes are in.
auto read_shared_prefix(const std::filesystem::path& path, std::size_t limit) -> std::optional<std::string>;

// The most memory this process has held resident so far, in bytes; nothing when the system cannot say.
auto peak_resident_bytes() -> std::optional<uint64_t>;

// The processor time the calling thread has used so far (coarse on Windows: the scheduler's ticks).
auto thread_cpu_time() -> std::chrono::nanoseconds;

// The file's last-write time at the file system's full resolution, and setting it; nothing or false when
// the file cannot be reached. (std::filesystem::last_write_time keeps whole seconds only on Windows.)
auto last_write_time(const std::filesystem::path& path) -> std::optional<std::filesystem::file_time_type>;
auto set_last_write_time(const std::filesystem::path& path, std::filesystem::file_time_type time) -> bool;

// The local calendar time of `time`.
auto local_time(std::time_t time) -> std::tm;

// Starts `program` with `args` (args[0] is the program's name for itself), waits for it to end and
// returns its exit status. Throws std::runtime_error when it cannot be started.
auto run_and_wait(const std::filesystem::path& program, const std::vector<std::string>& args) -> int;

// Runs `program` with `args` in place of this process: on POSIX the process image is replaced; on
// Windows the program runs as a child and this process exits with its status once it ends. Throws
// std::runtime_error when the program cannot be started.
[[noreturn]] auto replace_process(const std::filesystem::path& program, const std::vector<std::string>& args)
    -> void;

} // namespace korvath::os
