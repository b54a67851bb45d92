// The number rules shared by both input tables. The splitting of their lines is covered by the tables
// of both readers.

#include "exchange/text_fields.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace korvath::test {
namespace {

using namespace std::string_literals;

TEST(TextFields, AcceptsWholeFiniteNumbersOnly) {
    const auto check = [](const std::string& text, std::optional<float> expected) {
        float fromString = -1;
        float fromView = -1;
        EXPECT_EQ(parse_float_field(text, fromString), expected.has_value()) << testing::PrintToString(text);
        EXPECT_EQ(parse_float_text(text, fromView), expected.has_value()) << testing::PrintToString(text);
        EXPECT_TRUE(!expected || (fromString == *expected && fromView == *expected)) << text;
    };
    const std::string longZeros(70, '0'); // longer than the inline copy
    const std::pair<const char*, float> accepted[] = {{"100.5", 100.5f}, {"+2", 2.0f},       {" 1.5", 1.5f},
                                                      {"\t1.5", 1.5f},   {"0x10", 16.0f},    {"1e3", 1000.0f},
                                                      {"-0", -0.0f},     {"3.4e38", 3.4e38f}};
    for (const auto& [text, value] : accepted)
        check(text, value);
    check(longZeros + "1.25", 1.25f);
    for (const std::string& text :
         {"1.5 "s, "1.5\r"s, "1,5"s, ""s, " "s, "-"s, "1e"s, "12cm"s, "nan"s, "-nan"s, "inf"s, "-Infinity"s,
          "1e39"s, "-1e39"s, "\xEF\xBB\xBF"s + "1", "1\0005"s, longZeros + "1.25x"})
        check(text, std::nullopt);
}

} // namespace
} // namespace korvath::test
