#include "host/console.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

TEST(Console, EachDeviceInOrderWithTheLevelWhereItIsTaken) {
    auto log = standin::install_recording_devices();
    log_to_console(L"[KorvathOnlineCpp] one\n", RC::LogLevel::Error);
    log_to_console(L"[KorvathOnlineCpp] spawned: {}\n", L"BP_PlayerCharacter_C /Game/Maps/Map_A.Map_A:X");
    const auto lines = log->lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].text, L"[KorvathOnlineCpp] one\n");
    EXPECT_EQ(lines[0].level, -1);
    EXPECT_EQ(lines[1].level, 4);
    EXPECT_EQ(lines[2].text, L"[KorvathOnlineCpp] spawned: BP_PlayerCharacter_C /Game/Maps/Map_A.Map_A:X\n");
    EXPECT_EQ(lines[3].level, 0);
}

TEST(Console, EmptyListIsQuietButANullDeviceThrows) {
    auto& devices = RC::Output::DefaultTargets::get_default_devices_ref();
    devices.clear();
    EXPECT_NO_THROW(log_to_console(L"nobody listens\n"));
    devices.push_back(nullptr);
    try {
        log_to_console(L"x\n");
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "[Output::send] Attempted to send but there were no default devices. Please "
                     "specify at least one default device or construct a Targets object and "
                     "supply your own devices.");
    }
    devices.clear();
}

} // namespace
} // namespace korvath::test
