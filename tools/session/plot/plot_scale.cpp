#include "tools/session/plot/plot_scale.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace korvath::session_tool {

auto LinearScale::map(double value) const -> double {
    const double span = domainHigh - domainLow;
    if (!(std::abs(span) > 0.0))
        return (rangeLow + rangeHigh) / 2.0;
    return rangeLow + (value - domainLow) / span * (rangeHigh - rangeLow);
}

auto nice_ticks(double low, double high, int count) -> TickSet {
    if (!std::isfinite(low) || !std::isfinite(high)) {
        low = 0.0;
        high = 1.0;
    }
    if (high < low)
        std::swap(low, high);
    if (!(high - low > 0.0)) {
        const double pad = low == 0.0 ? 1.0 : std::abs(low) * 0.1;
        low -= pad;
        high += pad;
    }
    const double rough = (high - low) / std::max(count, 1);
    const double magnitude = std::pow(10.0, std::floor(std::log10(rough)));
    double step = magnitude * 10.0;
    for (const double factor : {1.0, 2.0, 5.0})
        if (rough <= factor * magnitude) {
            step = factor * magnitude;
            break;
        }
    TickSet ticks;
    ticks.step = step;
    ticks.low = std::floor(low / step + 1e-9) * step;
    ticks.high = std::ceil(high / step - 1e-9) * step;
    const auto intervals = static_cast<long>(std::lround((ticks.high - ticks.low) / step));
    for (long index = 0; index <= intervals; ++index)
        ticks.values.push_back(ticks.low + static_cast<double>(index) * step);
    return ticks;
}

auto tick_label(double value, double step) -> std::string {
    const int decimals =
        step > 0.0 ? std::clamp(-static_cast<int>(std::floor(std::log10(step) + 1e-9)), 0, 6) : 0;
    if (std::abs(value) < step * 1e-6)
        value = 0.0; // no "-0" from accumulated rounding
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

} // namespace korvath::session_tool
