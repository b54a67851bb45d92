#include "support/test_support.hpp"

#include "mod/session_state.hpp"
#include "standin/Clock.hpp"
#include "standin/Engine.hpp"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>

namespace korvath::test {

auto binaries_dir() -> fs::path {
    return fs::read_symlink("/proc/self/exe").parent_path();
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
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

auto write_file(const fs::path& path, std::string_view bytes) -> void {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

auto set_file_age(const fs::path& path, int64_t secondsAgo, int64_t extraNanoseconds) -> void {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    constexpr int64_t kUnixEpoch = 116444736000000000; // 1970-01-01 on the file-time scale
    set_file_time(path, kUnixEpoch + (static_cast<int64_t>(now.tv_sec) - secondsAgo) * 10'000'000 +
                            (now.tv_nsec - extraNanoseconds) / 100);
}

auto set_file_time(const fs::path& path, int64_t fileTime) -> void {
    constexpr int64_t kUnixEpoch = 116444736000000000; // 1970-01-01 on the file-time scale
    const int64_t units = fileTime - kUnixEpoch;
    timespec t{static_cast<time_t>(units / 10'000'000), static_cast<long>(units % 10'000'000) * 100};
    timespec times[2] = {t, t};
    if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
        throw std::runtime_error("cannot set the time of " + path.string());
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
    const fs::path copy = binaries_dir() / ("mod-copy-" + std::to_string(counter++) + ".so");
    fs::copy_file(library, copy, fs::copy_options::overwrite_existing);
    return standin::LoadedMod::load(copy);
}

HostFixture::HostFixture() {
    standin::engine().reset();
    standin::clock().set_ns(standin::Clock::kStart);
    console = standin::install_recording_devices();
}

} // namespace korvath::test
