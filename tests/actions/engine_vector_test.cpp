// Engine vectors in the layout of the running engine version.

#include "actions/engine_vector.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <tuple>

namespace korvath::test {
namespace {

TEST(EngineVector, FloatsBeforeEngineFiveAndDoublesFromItOn) {
    const HostFixture host;
    for (const auto& [major, minor, doubles] :
         {std::tuple{3, 5, false}, {4, 99, false}, {5, 0, true}, {6, 0, true}}) {
        standin::engine().set_version(major, minor);
        EXPECT_EQ(engine_uses_double_vectors(), doubles) << major << "." << minor;
    }

    // The float layout: three floats, each rounded to nearest, and zero bytes after them.
    standin::engine().set_version(4, 27);
    const auto narrow = make_engine_vector(0.1, 16777217.0, -1e-3);
    const float parts[6] = {0.1f, 16777216.0f, -1e-3f};
    EXPECT_EQ(std::memcmp(narrow.Bytes, parts, sizeof parts), 0);
    EXPECT_EQ(read_engine_vector(narrow),
              (std::array{static_cast<double>(0.1f), 16777216.0, static_cast<double>(-1e-3f)}));

    standin::engine().set_version(5, 0);
    const auto wide = make_engine_vector(0.1, 16777217.0, -1e-3);
    const double wideParts[3] = {0.1, 16777217.0, -1e-3};
    EXPECT_EQ(std::memcmp(wide.Bytes, wideParts, sizeof wideParts), 0);
    EXPECT_EQ(read_engine_vector(wide), (std::array{0.1, 16777217.0, -1e-3}));
}

} // namespace
} // namespace korvath::test
