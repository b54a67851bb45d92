#pragma once
// Helpers shared by the tests: the temporary game folder, file access, file ages, mod loading, polling
// and the tools run as processes.

#include "standin/Devices.hpp"
#include "standin/ModLoader.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvath::test {

namespace fs = std::filesystem;

// The folder of the running (relocated) test executable, and the exchange directory beside it.
auto binaries_dir() -> fs::path;
auto exchange_dir() -> fs::path;
// A fresh empty directory below the temporary game folder.
auto scratch_dir(std::string_view name) -> fs::path;

auto read_file(const fs::path& path) -> std::string;
auto write_file(const fs::path& path, std::string_view bytes) -> void;

// Sets a file's last-write time to `secondsAgo` seconds before now (negative: in the future),
// plus `extraNanoseconds` (whole 100-ns units count).
auto set_file_age(const fs::path& path, int64_t secondsAgo, int64_t extraNanoseconds = 0) -> void;
// Sets the last-write time to an exact point on the file-time scale (100 ns since 1601).
auto set_file_time(const fs::path& path, int64_t fileTime) -> void;

// Polls `done` every `every` until it holds or `limit` has passed; the last answer.
auto wait_until(std::chrono::milliseconds limit, const std::function<bool()>& done,
                std::chrono::milliseconds every = std::chrono::milliseconds(50)) -> bool;

// A program of the build's tools folder ("korvath-session", "korvath-sim"), and a game folder's exchange
// directory.
auto tool_program(std::string_view name) -> fs::path;
auto exchange_of(const fs::path& game) -> fs::path;
// Runs a tool to its end: the exit code, and its stdout and stderr together.
auto run_tool(std::string_view name, const std::vector<std::string>& args) -> std::pair<int, std::string>;

// Clears every value of the process-wide session state, as a fresh load of the library does.
auto reset_session_state() -> void;

// Loads a private copy of a mod library, so each load has its own process-wide state.
auto load_mod_copy(const fs::path& library) -> standin::LoadedMod;

// The host side of a test: a clean engine, recording console devices and the clock at its start.
struct HostFixture {
    HostFixture();
    std::shared_ptr<standin::LineLog> console;
};

} // namespace korvath::test
