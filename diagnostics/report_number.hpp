#pragma once

#include <string>

namespace korvath {

// A number of a report as a default-formatted text stream writes it, the same as printf "%g":
// six significant digits, exponent form below 1e-4 and from 1e6 on, no trailing zeros
// (1234.57, 1.23457e+06, 6.99382e-05, 0, -0.25). Always a full stop, whatever the locale.
auto format_report_number(double value) -> std::string;

} // namespace korvath
