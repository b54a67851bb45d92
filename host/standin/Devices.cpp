#include "Devices.hpp"

#include <stdexcept>

namespace standin {

auto LineLog::add(std::wstring_view text, int32_t level) -> void {
    std::lock_guard lock(m_mutex);
    if (!m_failNeedle.empty() && text.find(m_failNeedle) != std::wstring_view::npos)
        throw std::runtime_error("simulated console failure");
    m_lines.push_back(ReceivedLine{std::wstring(text), level});
}

auto LineLog::lines() const -> std::vector<ReceivedLine> {
    std::lock_guard lock(m_mutex);
    return m_lines;
}

auto LineLog::texts() const -> std::vector<std::wstring> {
    std::lock_guard lock(m_mutex);
    std::vector<std::wstring> out;
    for (const auto& line : m_lines)
        out.push_back(line.text);
    return out;
}

auto LineLog::clear() -> void {
    std::lock_guard lock(m_mutex);
    m_lines.clear();
}

auto LineLog::fail_lines_containing(std::wstring needle) -> void {
    std::lock_guard lock(m_mutex);
    m_failNeedle = std::move(needle);
}

auto RecordingDevice::receive(std::wstring_view line) const -> void {
    m_log->add(line, -1);
}

auto RecordingDevice::receive_with_optional_arg(std::wstring_view line, int32_t level) const -> void {
    m_log->add(line, level);
}

auto to_utf8(std::wstring_view text) -> std::string {
    std::string out;
    out.reserve(text.size());
    for (wchar_t wc : text) {
        auto c = static_cast<uint32_t>(wc);
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

auto StreamDevice::receive(std::wstring_view line) const -> void {
    const std::string text = to_utf8(line);
    std::fwrite(text.data(), 1, text.size(), m_stream);
    std::fflush(m_stream);
}

auto install_recording_devices() -> std::shared_ptr<LineLog> {
    auto log = std::make_shared<LineLog>();
    auto& devices = RC::Output::DefaultTargets::get_default_devices_ref();
    devices.clear();
    devices.push_back(std::make_unique<RecordingDevice>(log, false));
    devices.push_back(std::make_unique<RecordingDevice>(log, true));
    return log;
}

} // namespace standin
