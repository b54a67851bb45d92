// Engine vectors in the layout of the running engine version.

#include "actions/engine_vector.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace korvath::test {
namespace {

class EngineVector : public ::testing::Test {
protected:
    HostFixture host;
};

TEST_F(EngineVector, LayoutFollowsEngineVersion) {
    struct Row {
        int32_t major, minor;
        bool doubles;
    };
    for (const Row row : {Row{4, 27, false}, Row{4, 99, false}, Row{3, 5, false}, Row{5, 0, true},
                          Row{5, 1, true}, Row{6, 0, true}}) {
        SCOPED_TRACE(testing::Message() << row.major << "." << row.minor);
        standin::engine().set_version(row.major, row.minor);
        EXPECT_EQ(engine_uses_double_vectors(), row.doubles);

        const auto vector = make_engine_vector(1.5, -2.25, 100.0);
        unsigned char expected[24]{};
        if (row.doubles) {
            const double parts[3] = {1.5, -2.25, 100.0};
            std::memcpy(expected, parts, sizeof parts);
        } else {
            const float parts[3] = {1.5f, -2.25f, 100.0f};
            std::memcpy(expected, parts, sizeof parts);
        }
        EXPECT_EQ(std::memcmp(vector.Bytes, expected, sizeof expected), 0);
        EXPECT_EQ(read_engine_vector(vector), (std::array<double, 3>{1.5, -2.25, 100.0}));
    }
}

TEST_F(EngineVector, FloatLayoutRoundsToNearestFloatAndDoubleLayoutKeepsTheDouble) {
    standin::engine().set_version(4, 27);
    const auto narrow = read_engine_vector(make_engine_vector(0.1, 16777217.0, -1e-3));
    EXPECT_EQ(narrow,
              (std::array<double, 3>{static_cast<double>(0.1f), 16777216.0, static_cast<double>(-1e-3f)}));
    EXPECT_NE(narrow[0], 0.1);

    standin::engine().set_version(5, 0);
    EXPECT_EQ(read_engine_vector(make_engine_vector(0.1, 16777217.0, -1e-3)),
              (std::array<double, 3>{0.1, 16777217.0, -1e-3}));
}

} // namespace
} // namespace korvath::test
