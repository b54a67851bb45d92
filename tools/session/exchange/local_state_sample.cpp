#include "tools/session/exchange/local_state_sample.hpp"

#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/text_fields.hpp"

#include <charconv>

namespace korvath::session_tool {

namespace {

template <typename Number>
auto parse_whole(const std::string& text, Number& value) -> bool {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return !text.empty() && error == std::errc{} && end == text.data() + text.size();
}

} // namespace

auto parse_local_state_sample(std::string_view content) -> std::optional<LocalStateSample> {
    auto pose = parse_local_state(content);
    if (!pose)
        return std::nullopt;
    LocalStateSample sample{std::move(*pose), std::nullopt};
    std::string_view line = content.substr(0, content.find('\n'));
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    const auto fields = split_tab_fields(line);
    SampleStamp stamp;
    if (fields.size() >= 7 && parse_whole(fields[5], stamp.sampleMs) &&
        parse_whole(fields[6], stamp.sequence))
        sample.stamp = stamp;
    return sample;
}

} // namespace korvath::session_tool
