#include "support/test_support.hpp"

#include "exchange/platform.hpp"
#include "mod/session_state.hpp"
#include "standin/Clock.hpp"
#include "standin/Engine.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/demo/child_process.hpp"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace korvath::test {

auto binaries_dir() -> fs::path {
    return os::this_executable().parent_path();
}

auto exchange_dir() -> fs::path {
    return binaries_dir() / "KorvathOnline";
}

auto scratch_dir(std::string_view name) -> fs::path {
    static std::atomic<int> counter{0};
    fs::path dir = binaries_dir().parent_path().parent_path().parent_path() /
                   ("scratch-" + std::string(name) + "-" + std::to_string(counter++));
    fs::remove_all(dir);
    fs::create_directories(dir);
    return dir;
}

auto read_file(const fs::path& path) -> std::string {
    auto content = os::read_shared(path);
    if (!content)
        throw std::runtime_error("cannot read " + path.string());
    return std::move(*content);
}

auto write_file(const fs::path& path, std::string_view bytes) -> void {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

auto set_file_age(const fs::path& path, int64_t secondsAgo, int64_t extraNanoseconds) -> void {
    set_file_time(path, platform::system_file_time_now() - secondsAgo * 10'000'000 - extraNanoseconds / 100);
}

auto wait_until(std::chrono::milliseconds limit, const std::function<bool()>& done,
                std::chrono::milliseconds every) -> bool {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(every);
    return done();
}

auto tool_program(std::string_view name) -> fs::path {
    return fs::path(KORVATH_TOOLS_DIR) / (std::string(name) + KORVATH_EXECUTABLE_SUFFIX);
}

auto exchange_of(const fs::path& game) -> fs::path {
    return game / "KorvathOnline";
}

auto run_tool(std::string_view name, const std::vector<std::string>& args) -> std::pair<int, std::string> {
    const fs::path output = scratch_dir("run") / "output.txt";
    const int status = session_tool::ChildProcess(tool_program(name), args, output).wait();
    return {status, read_file(output)};
}

auto reset_session_state() -> void {
    for (auto* flag :
         {&unrealReady, &gameThreadRealClientProxyCallbackRegistered, &sessionEnabled, &killSwitchEngaged,
          &remoteFresh, &proxyActive, &proxyEverSpawned, &proxyDestroyed, &lastMoveReturned, &testFailed,
          &clientRole, &clientBRelocationQueued, &clientBSpawnAdjusted, &clientBSpawnAdjustFailed})
        flag->store(false);
    movementUpdates.store(0);
    pendingGameThreadCommand.store(GameThreadCommand::None);
    proxyActor = nullptr;
    std::lock_guard lock(remoteStateMutex);
    remotePlayerSnapshot = RemotePlayerState{};
    appliedProxyState = RemotePlayerState{};
}

auto load_mod_copy(const fs::path& library) -> standin::LoadedMod {
    static std::atomic<int> counter{0};
    const fs::path copy =
        binaries_dir() / ("mod-copy-" + std::to_string(counter++) + library.extension().string());
    fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
    return standin::LoadedMod::load(copy);
}

HostFixture::HostFixture() {
    standin::engine().reset();
    standin::clock().set_ns(standin::Clock::kStart);
    console = standin::install_recording_devices();
}

} // namespace korvath::test
