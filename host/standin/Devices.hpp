#pragma once
// Output devices of the host stand-in: one that records what it receives, one that prints.

#include "DynamicOutput/Output.hpp"

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace standin {

struct ReceivedLine {
    std::wstring text;
    int32_t level{-1}; // -1 when the device does not take the extra integer
};

// Shared between a RecordingDevice and whoever reads it, so it outlives the device list.
class LineLog {
public:
    auto add(std::wstring_view text, int32_t level) -> void;
    auto lines() const -> std::vector<ReceivedLine>;
    auto texts() const -> std::vector<std::wstring>;
    auto clear() -> void;
    // From now on a line that contains `needle` makes the device throw std::runtime_error("simulated
    // console failure") instead of taking it, as a failing output device of the host would. Empty: never.
    auto fail_lines_containing(std::wstring needle) -> void;

private:
    mutable std::mutex m_mutex;
    std::vector<ReceivedLine> m_lines;
    std::wstring m_failNeedle;
};

class RecordingDevice : public RC::Output::OutputDevice {
public:
    RecordingDevice(std::shared_ptr<LineLog> log, bool takesLevel)
        : m_log(std::move(log))
        , m_takesLevel(takesLevel) {}
    auto has_optional_arg() const -> bool override { return m_takesLevel; }
    auto receive(std::wstring_view line) const -> void override;
    auto receive_with_optional_arg(std::wstring_view line, int32_t level) const -> void override;

private:
    std::shared_ptr<LineLog> m_log;
    bool m_takesLevel;
};

// Prints each line as UTF-8 to a stdio stream; the level, when the device takes it, as a prefix tag.
class StreamDevice : public RC::Output::OutputDevice {
public:
    explicit StreamDevice(std::FILE* stream)
        : m_stream(stream) {}
    auto receive(std::wstring_view line) const -> void override;

private:
    std::FILE* m_stream;
};

auto to_utf8(std::wstring_view text) -> std::string;

// Replaces the default devices with a recording device (and optionally a second one that takes
// the level) and returns the log they share.
auto install_recording_devices() -> std::shared_ptr<LineLog>;

} // namespace standin
