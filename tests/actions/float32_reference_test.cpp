// The proxy's smoothing and CLIENT_B's destination against an independent single-precision reference,
// bit for bit. The reference does each operation in double and rounds it to float, which is exactly one
// IEEE float operation however this file is compiled; so computing in double, with a double factor, in
// another summation order, or with fused multiply-adds shows up as a difference.

#include "actions/client_b_destination.hpp"
#include "actions/proxy_smoothing.hpp"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

namespace korvath::test {
namespace {

constexpr auto add = [](float a, float b) { return static_cast<float>(double{a} + double{b}); };
constexpr auto sub = [](float a, float b) { return static_cast<float>(double{a} - double{b}); };
constexpr auto mul = [](float a, float b) { return static_cast<float>(double{a} * double{b}); };

auto reference_wrap(float degrees) -> float {
    while (degrees > 180.0f)
        degrees = sub(degrees, 360.0f);
    while (degrees < -180.0f)
        degrees = add(degrees, 360.0f);
    return degrees;
}

// x, y, z, yaw after one step from `a` toward `t`.
auto reference_step(const std::array<float, 4>& a, const std::array<float, 4>& t) -> std::array<float, 4> {
    const float f = 0.35f;
    const float dx = sub(t[0], a[0]), dy = sub(t[1], a[1]), dz = sub(t[2], a[2]);
    const float d2 = add(add(mul(dy, dy), mul(dx, dx)), mul(dz, dz));
    if (!(12250000.0f >= d2))
        return t;
    const float yawGap = reference_wrap(sub(t[3], a[3]));
    return {add(mul(dx, f), a[0]), add(mul(dy, f), a[1]), add(mul(dz, f), a[2]),
            reference_wrap(add(mul(yawGap, f), a[3]))};
}

auto step(const std::array<float, 4>& a, const std::array<float, 4>& t) -> std::array<float, 4> {
    const RemotePlayerState n = next_proxy_pose({"", "", "", a[0], a[1], a[2], a[3], true},
                                                {"", "", "", t[0], t[1], t[2], t[3], true});
    return {n.x, n.y, n.z, n.yaw};
}

auto bits(const std::array<float, 4>& v) -> std::array<uint32_t, 4> {
    return std::bit_cast<std::array<uint32_t, 4>>(v);
}

TEST(Float32Reference, SmoothingStepsAndClientBDestinationsMatchBitForBit) {
#if defined(KORVATH_FMA_BUILD)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("fma") || !__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "this processor has no FMA";
#endif
    // The summation order decides this one: (dy*dy + dx*dx) + dz*dz is exactly 12250000 in float, so the
    // proxy smooths; in double the distance is above 3500 and it would jump.
    EXPECT_EQ(bits(step({-100, 0, 100, 0}, {3400, 0.6f, 100.6f, 0})),
              bits(reference_step({-100, 0, 100, 0}, {3400, 0.6f, 100.6f, 0})));
    // Beyond the float range the distance overflows: it jumps, the yaw as reported.
    EXPECT_EQ(step({-3e38f, 0, 0, 0}, {3e38f, 0, 0, 500}), (std::array<float, 4>{3e38f, 0, 0, 500}));

    std::mt19937 random(20261123);
    std::uniform_real_distribution<float> position(-50000.0f, 50000.0f);
    std::uniform_real_distribution<float> offset(-2500.0f, 2500.0f);
    std::uniform_real_distribution<float> yaw(-720.0f, 720.0f);
    int differing = 0;
    for (int i = 0; i < 200000; ++i) {
        const std::array<float, 4> a{position(random), position(random), position(random) / 100, yaw(random)};
        const std::array<float, 4> t{a[0] + offset(random), a[1] + offset(random), a[2] + offset(random) / 10,
                                     yaw(random)};
        if (bits(step(a, t)) != bits(reference_step(a, t)) && ++differing <= 3)
            ADD_FAILURE() << "from " << a[0] << "," << a[1] << "," << a[2] << "," << a[3] << " toward "
                          << t[0] << "," << t[1] << "," << t[2] << "," << t[3];
    }

    std::uniform_real_distribution<float> near(-2000.0f, 2000.0f);
    for (int i = 0; i < 50000; ++i) { // CLIENT_B's destination
        const float x = near(random), y = near(random), z = near(random) / 10, r = yaw(random) / 2;
        const float radians = mul(r, 0.017453292f);
        const std::array<float, 3> expected{sub(x, mul(std::sin(radians), 800.0f)),
                                            add(mul(std::cos(radians), 800.0f), y), add(z, 10.0f)};
        if (client_b_destination(x, y, z, r) != expected && ++differing <= 3)
            ADD_FAILURE() << x << "," << y << "," << z << " yaw " << r;
    }
    EXPECT_EQ(differing, 0);
}

} // namespace
} // namespace korvath::test
