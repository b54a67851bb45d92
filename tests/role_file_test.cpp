#include "mod/role_file.hpp"
#include "mod/session_state.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

struct RoleCase {
    const char* name;
    std::string content;
    bool role;
};

TEST(RoleFile, FirstLineTrimmingDecidesTheRole) {
    const RoleCase cases[] = {
        {"plain", "CLIENT_B", kClientB},
        {"LF", "CLIENT_B\n", kClientB},
        {"CR LF", "CLIENT_B\r\n", kClientB},
        {"blanks around", " \t CLIENT_B \t\r\r\n", kClientB},
        {"whatever follows the first line", "CLIENT_B\nCLIENT_A\n", kClientB},
        {"client A", "CLIENT_A\n", kClientA},
        {"B only on the second line", "CLIENT_A\nCLIENT_B\n", kClientA},
        {"lower case", "client_b\n", kClientA},
        {"a digit behind", "CLIENT_B2\n", kClientA},
        {"a word behind", "CLIENT_B please\n", kClientA},
        {"byte-order mark",
         "\xEF\xBB\xBF"
         "CLIENT_B\n",
         kClientA},
        {"leading CR", "\rCLIENT_B\n", kClientA},
        {"empty", "", kClientA},
        {"empty first line", "\nCLIENT_B\n", kClientA},
        {"NUL inside", std::string("CLIENT_B\0", 9), kClientA},
        {"binary", std::string("\x00\xff\x10\x80\n", 5), kClientA},
        {"trailing blanks beyond any buffer", "CLIENT_B" + std::string(100000, ' ') + "\n", kClientB},
        {"content far behind", "CLIENT_B" + std::string(100000, ' ') + "x\n", kClientA},
        {"huge line without LF", std::string(8 << 20, 'B'), kClientA},
    };
    const fs::path file = scratch_dir("role") / "phase5g-role.txt";
    for (const auto& c : cases) {
        write_file(file, c.content);
        EXPECT_EQ(role_from_text(read_role_file(file)), c.role) << c.name;
    }
}

TEST(RoleFile, TrimmedLineIsReturned) {
    const fs::path file = scratch_dir("role") / "phase5g-role.txt";
    write_file(file, "\t CLIENT_A x \r\n");
    EXPECT_EQ(read_role_file(file), "CLIENT_A x");
}

TEST(RoleFile, UnreadableFileGivesEmptyText) {
    const fs::path dir = scratch_dir("role");
    EXPECT_EQ(read_role_file(dir / "missing.txt"), "");
    fs::create_directory(dir / "phase5g-role.txt");
    EXPECT_EQ(read_role_file(dir / "phase5g-role.txt"), "");
}

} // namespace
} // namespace korvath::test
