// The role file: its trimmed first line, and the role that line names.

#include "mod/role_file.hpp"
#include "mod/session_state.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace korvath::test {
namespace {

TEST(RoleFile, OnlyAFirstLineOfExactlyClientBAfterTrimmingGivesClientB) {
    using namespace std::string_literals;
    const fs::path file = scratch_dir("role") / "phase5g-role.txt";
    const auto role_of = [&](const std::string& content) {
        write_file(file, content);
        return role_from_text(read_role_file(file));
    };
    const std::string blanks(100000, ' '); // beyond any read buffer
    for (const std::string& content : {"CLIENT_B"s, "CLIENT_B\r\n"s, " \t CLIENT_B \t\r\r\n"s,
                                       "CLIENT_B\nCLIENT_A\n"s, "CLIENT_B" + blanks + "\n"})
        EXPECT_EQ(role_of(content), kClientB) << testing::PrintToString(content.substr(0, 20));
    for (const std::string& content :
         {"CLIENT_A\n"s, "CLIENT_A\nCLIENT_B\n"s, "client_b\n"s, "CLIENT_B2\n"s, "CLIENT_B please\n"s,
          "\xEF\xBB\xBF"s + "CLIENT_B\n", "\rCLIENT_B\n"s, ""s, "\nCLIENT_B\n"s, "CLIENT_B\0"s,
          "\0\xff\x10\x80\n"s, "CLIENT_B" + blanks + "x\n", std::string(8 << 20, 'B')})
        EXPECT_EQ(role_of(content), kClientA) << testing::PrintToString(content.substr(0, 20));

    write_file(file, "\t CLIENT_A x \r\n");
    EXPECT_EQ(read_role_file(file), "CLIENT_A x");
    fs::remove(file);
    EXPECT_EQ(read_role_file(file), "");
    fs::create_directory(file);
    EXPECT_EQ(read_role_file(file), "");
}

#ifndef _WIN32
// A FIFO with no writer in the role file's place blocked the open, and with it the mod's construction.
TEST(RoleFile, FifoInPlaceOfTheRoleFileDoesNotBlockTheStart) {
    using namespace std::chrono_literals;
    const fs::path file = scratch_dir("role-fifo") / "phase5g-role.txt";
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    auto role = std::async(std::launch::async, [&] { return read_role_file(file); });
    if (role.wait_for(30s) != std::future_status::ready) {
        // A writer that opens and closes lets a blocked reader see the end of the file.
        ::close(::open(file.c_str(), O_WRONLY | O_NONBLOCK));
        FAIL() << "reading a FIFO blocked";
    }
    EXPECT_EQ(role.get(), "");
}
#endif

} // namespace
} // namespace korvath::test
