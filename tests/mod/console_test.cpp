// Device order, levels and the formatting overload are checked through the mod's own console lines
// (lifecycle, error report, proxy spawn); here the two device lists those never meet.

#include "host/console.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

TEST(Console, EmptyListIsQuietButANullDeviceThrows) {
    auto& devices = RC::Output::DefaultTargets::get_default_devices_ref();
    devices.clear();
    EXPECT_NO_THROW(log_to_console(L"nobody listens\n"));
    devices.push_back(nullptr);
    EXPECT_THROW(log_to_console(L"x\n"), std::runtime_error);
    EXPECT_THROW(log_to_console(L"{}\n", L"x"), std::runtime_error);
    devices.clear();
}

} // namespace
} // namespace korvath::test
