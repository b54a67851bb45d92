// The role file: its trimmed first line, and the role that line names.

#include "mod/role_file.hpp"
#include "mod/session_state.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

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

} // namespace
} // namespace korvath::test
