#pragma once
// Axis arithmetic of the plots: a linear map from data values to pixels, and round tick values.

#include <string>
#include <vector>

namespace korvath::session_tool {

// Maps [domainLow, domainHigh] onto [rangeLow, rangeHigh]; the range may run backwards (a y axis in
// SVG grows downwards). An empty domain maps everything to the middle of the range.
struct LinearScale {
    double domainLow = 0.0;
    double domainHigh = 1.0;
    double rangeLow = 0.0;
    double rangeHigh = 1.0;

    auto map(double value) const -> double;
};

struct TickSet {
    double low = 0.0; // the domain widened outwards to whole steps
    double high = 1.0;
    double step = 1.0;          // 1, 2 or 5 times a power of ten
    std::vector<double> values; // low, low + step, ..., high
};

// Round ticks covering [low, high] with about `count` intervals. An empty or reversed interval is
// widened around its value first, so the result always has at least two ticks.
auto nice_ticks(double low, double high, int count) -> TickSet;

// A tick value as text with as many decimals as a step of 1, 2 or 5 times a power of ten needs
// ("0.5", "1000", "-0.02").
auto tick_label(double value, double step) -> std::string;

} // namespace korvath::session_tool
