#include "tools/session/watch/proxy_report.hpp"

#include "tools/session/exchange/report_lines.hpp"

#include <charconv>
#include <cmath>

namespace korvath::session_tool {

namespace {

auto number(const std::vector<ReportLine>& lines, std::string_view key) -> std::optional<double> {
    const auto text = report_value(lines, key);
    double value = 0.0;
    if (!text || text->empty())
        return std::nullopt;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc{} || end != text->data() + text->size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

auto shown_proxy_position(std::string_view statusReport) -> std::optional<Position> {
    const auto lines = parse_report(statusReport);
    const auto x = number(lines, "appliedX"), y = number(lines, "appliedY"), z = number(lines, "appliedZ");
    if (report_value(lines, "proxyActive") != "1" || !x || !y || !z)
        return std::nullopt;
    return Position{*x, *y, *z};
}

} // namespace korvath::session_tool
