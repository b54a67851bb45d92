#include "diagnostics/report_number.hpp"

#include <charconv>

namespace korvath {

auto format_report_number(double value) -> std::string {
    // to_chars with a precision is printf in the "C" locale: "%.6g" here, "nan" and "inf" included.
    constexpr int kSignificantDigits = 6;
    char buffer[32];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, kSignificantDigits);
    return std::string(buffer, result.ptr);
}

} // namespace korvath
