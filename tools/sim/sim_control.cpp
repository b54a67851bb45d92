#include "tools/sim/sim_control.hpp"

#include "tools/session/exchange/file_io.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

namespace korvath::sim {

namespace {

constexpr auto kLookPeriod = std::chrono::milliseconds(100);

auto printable_name(std::string_view name) -> bool {
    if (name.empty() || name.size() > 64)
        return false;
    for (const char c : name)
        if (c <= ' ' || c > '~')
            return false;
    return true;
}

constexpr std::size_t kMostWaitingKeys = 64;

// "CTRL+F7" as a key and its modifier keys; nothing when a part is no key name.
auto parse_key_press(std::string_view text) -> std::optional<KeyPress> {
    KeyPress press;
    while (!text.empty()) {
        const std::size_t plus = text.find('+');
        const std::string_view part = text.substr(0, plus);
        text = plus == std::string_view::npos ? std::string_view{} : text.substr(plus + 1);
        if (part.empty() || part.size() > 16 || !std::ranges::all_of(part, [](char c) {
                return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
            }))
            return std::nullopt;
        if (!press.key.empty())
            press.modifiers.push_back(press.key == "CTRL" ? "CONTROL" : press.key);
        press.key = std::string(part);
    }
    for (const std::string& modifier : press.modifiers)
        if (modifier != "CONTROL" && modifier != "SHIFT" && modifier != "ALT")
            return std::nullopt;
    if (press.key.empty())
        return std::nullopt;
    return press;
}

} // namespace

SimControl::SimControl(std::optional<std::filesystem::path> file, standin::GameWorld world,
                       std::string mapName)
    : m_file(std::move(file))
    , m_world(world)
    , m_mapName(std::move(mapName)) {}

auto SimControl::poll(SteadyClock::time_point now) -> void {
    if (!m_file || now - m_lastLook < kLookPeriod)
        return;
    m_lastLook = now;
    std::error_code error;
    std::filesystem::path taken = *m_file;
    taken += ".taken";
    std::filesystem::rename(*m_file, taken, error);
    if (error)
        return; // no command waiting
    const auto size = std::filesystem::file_size(taken, error);
    std::optional<std::string> text;
    if (!error && size <= kLargestControlFile)
        text = session_tool::read_whole_file(taken);
    std::filesystem::remove(taken, error);
    if (!text) {
        std::fprintf(stderr, "korvath-sim: control file unreadable or too large, ignored\n");
        return;
    }
    std::size_t start = 0;
    while (start < text->size()) {
        std::size_t end = text->find('\n', start);
        if (end == std::string::npos)
            end = text->size();
        const std::string_view line = std::string_view(*text).substr(start, end - start);
        if (!line.empty() && !apply(line))
            std::fprintf(stderr, "korvath-sim: control: ignored a line that is no command\n");
        start = end + 1;
    }
}

auto SimControl::apply(std::string_view line) -> bool {
    auto& engine = standin::engine();
    if (line == "clear") {
        engine.clear_faults();
        std::fprintf(stderr, "korvath-sim: control: engine faults cleared\n");
        return true;
    }
    if (line.starts_with("fail ")) {
        const std::string_view setting = line.substr(5);
        const std::size_t equals = setting.find('=');
        if (equals == std::string_view::npos)
            return false;
        const auto op = standin::parse_op(setting.substr(0, equals));
        const auto mode = standin::parse_fault_mode(setting.substr(equals + 1));
        if (!op || !mode)
            return false;
        engine.set_fault(*op, standin::Fault{*mode, engine.calls(*op) + 1});
        std::fprintf(stderr, "korvath-sim: control: %.*s from now on\n", static_cast<int>(setting.size()),
                     setting.data());
        return true;
    }
    if (line.starts_with("map ")) {
        const std::string_view name = line.substr(4);
        if (!printable_name(name))
            return false;
        std::lock_guard lock(m_mutex);
        m_world = engine.change_map(m_world, std::wstring(name.begin(), name.end()));
        m_mapName = std::string(name);
        std::fprintf(stderr, "korvath-sim: control: map changed to %s\n", m_mapName.c_str());
        return true;
    }
    if (line.starts_with("key ")) {
        auto press = parse_key_press(line.substr(4));
        std::lock_guard lock(m_mutex);
        if (!press || m_keys.size() >= kMostWaitingKeys)
            return false;
        m_keys.push_back(std::move(*press));
        return true;
    }
    return false;
}

auto SimControl::take_key_presses() -> std::vector<KeyPress> {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_keys, {});
}

auto SimControl::pawn() const -> standin::AActor* {
    std::lock_guard lock(m_mutex);
    return m_world.pawn;
}

auto SimControl::controller() const -> standin::AActor* {
    std::lock_guard lock(m_mutex);
    return m_world.controller;
}

auto SimControl::map_name() const -> std::string {
    std::lock_guard lock(m_mutex);
    return m_mapName;
}

} // namespace korvath::sim
