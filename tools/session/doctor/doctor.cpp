#include "tools/session/doctor/doctor.hpp"

#include "tools/session/doctor/exchange_checks.hpp"
#include "tools/session/doctor/install_checks.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace fs = std::filesystem;

auto run_doctor(const std::vector<fs::path>& gameDirs, fs::file_time_type now, std::ostream& out) -> int {
    int problems = 0;
    std::vector<ClientRole> roles;
    const auto print = [&](const Checks& checks) {
        for (const Check& check : checks) {
            out << format_check(check);
            problems += check.verdict == Verdict::Problem ? 1 : 0;
        }
    };
    for (const fs::path& gameDir : gameDirs) {
        out << "Game folder " << fs::path(gameDir).make_preferred().string() << "\n";
        Checks checks;
        check_install(gameDir, checks);
        roles.push_back(check_exchange(gameDir, now, checks));
        print(checks);
    }
    if (gameDirs.size() == 2) {
        out << "Both game folders\n";
        std::error_code error;
        Checks checks;
        const std::string subject = "phase5g-role.txt in both";
        if (fs::equivalent(gameDirs[0], gameDirs[1], error))
            checks.push_back({Verdict::Problem, "the two folders", "are one and the same",
                              "name two copies of the game, one for each player"});
        else if (roles[0] == roles[1])
            checks.push_back({Verdict::Problem, subject,
                              std::string("both are ") + std::string(role_name(roles[0])),
                              std::string("korvath-session role with one folder and ") +
                                  (roles[0] == ClientRole::ClientA ? "CLIENT_B" : "CLIENT_A") +
                                  ", then restart that game"});
        else
            checks.push_back({Verdict::Ok, subject, "one CLIENT_A, one CLIENT_B"});
        print(checks);
    }
    if (problems == 0)
        out << "doctor: nothing stands in the way of a session\n";
    else
        out << "doctor: " << problems << (problems == 1 ? " problem" : " problems") << " to fix\n";
    return problems == 0 ? 0 : 1;
}

} // namespace korvath::session_tool
