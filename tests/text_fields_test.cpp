// Splitting of table lines and the number rules shared by both input tables.

#include "exchange/text_fields.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace korvath::test {
namespace {

using Fields = std::vector<std::string>;

TEST(TextFields, SplitsOnSingleTabsWithoutTrailingEmptyField) {
    const struct {
        std::string line;
        Fields fields;
    } cases[] = {
        {"", {}},
        {"whole line", {"whole line"}},
        {"a\tb", {"a", "b"}},
        {"a\t\tb", {"a", "", "b"}},
        {"a\tb\t", {"a", "b"}},
        {"\t", {""}},
        {"\t\t", {"", ""}},
        {"\ta", {"", "a"}},
        {"a b\r", {"a b\r"}},
        {std::string("n\0ul\tx", 6), {std::string("n\0ul", 4), "x"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(split_tab_fields(c.line), c.fields) << testing::PrintToString(c.line);
        // The copy-free split agrees on every field it has room for, and on the count.
        std::array<std::string_view, 2> views;
        const std::size_t count = split_tab_field_views(c.line, views);
        ASSERT_EQ(count, std::min(c.fields.size(), views.size())) << testing::PrintToString(c.line);
        for (std::size_t i = 0; i < count; ++i)
            EXPECT_EQ(views[i], c.fields[i]);
    }
}

TEST(TextFields, AcceptsWholeFiniteNumbersOnly) {
    const struct {
        std::string text;
        bool ok;
        float value;
    } cases[] = {
        {"100.5", true, 100.5f},
        {"-20", true, -20.0f},
        {"+2", true, 2.0f},
        {" 1.5", true, 1.5f},
        {"\t1.5", true, 1.5f},
        {"0x10", true, 16.0f},
        {"1e3", true, 1000.0f},
        {"3.4e38", true, 3.4e38f},
        {"-0", true, -0.0f},
        {"1.5 ", false, 0},
        {"1.5\r", false, 0},
        {"1,5", false, 0},
        {"", false, 0},
        {" ", false, 0},
        {"-", false, 0},
        {".", false, 0},
        {"1e", false, 0},
        {"12cm", false, 0},
        {"nan", false, 0},
        {"-nan", false, 0},
        {"inf", false, 0},
        {"-Infinity", false, 0},
        {"1e39", false, 0},
        {"-1e39", false, 0},
        {"\xEF\xBB\xBF"
         "1",
         false, 0},
        {std::string("1\0"
                     "5",
                     3),
         false, 0},
        {std::string(70, '0') + "1.25", true, 1.25f}, // longer than the inline copy
        {std::string(70, '0') + "1.25x", false, 0},
    };
    for (const auto& c : cases) {
        float fromString = -1;
        float fromView = -1;
        EXPECT_EQ(parse_float_field(c.text, fromString), c.ok) << testing::PrintToString(c.text);
        EXPECT_EQ(parse_float_text(c.text, fromView), c.ok) << testing::PrintToString(c.text);
        if (c.ok) {
            EXPECT_EQ(fromString, c.value) << testing::PrintToString(c.text);
            EXPECT_EQ(fromView, c.value) << testing::PrintToString(c.text);
        }
    }
}

} // namespace
} // namespace korvath::test
