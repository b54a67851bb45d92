// Splitting of table lines and the number rules shared by both input tables.

#include "exchange/text_fields.hpp"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace korvath::test {
namespace {

using Fields = std::vector<std::string>;
using namespace std::string_literals;

TEST(TextFields, SplitsOnSingleTabsWithoutTrailingEmptyField) {
    const std::pair<std::string, Fields> cases[] = {{"", {}},
                                                    {"whole line", {"whole line"}},
                                                    {"a\t\tb", {"a", "", "b"}},
                                                    {"a\tb\t", {"a", "b"}},
                                                    {"\t", {""}},
                                                    {"\t\t", {"", ""}},
                                                    {"\ta", {"", "a"}},
                                                    {"a b\r", {"a b\r"}},
                                                    {"n\0ul\tx"s, {"n\0ul"s, "x"}}};
    for (const auto& [line, fields] : cases) {
        EXPECT_EQ(split_tab_fields(line), fields) << testing::PrintToString(line);
        // The copy-free split agrees on every field it has room for, and on the count.
        std::array<std::string_view, 2> views;
        const std::size_t count = split_tab_field_views(line, views);
        ASSERT_EQ(count, std::min(fields.size(), views.size())) << testing::PrintToString(line);
        for (std::size_t i = 0; i < count; ++i)
            EXPECT_EQ(views[i], fields[i]);
    }
}

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
