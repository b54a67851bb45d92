// The role file reader on any bytes: the role it names must be the one the plain rule gives (the first
// line, trailing CR, LF, spaces and tabs dropped, then leading spaces and tabs), and the line it keeps
// must be a piece of the first line.

#include "mod/role_file.hpp"
#include "tools/fuzz/fuzz_support.hpp"

#include <string>

namespace {

using korvath::fuzz::check;

auto trimmed_first_line(std::string_view bytes) -> std::string_view {
    std::string_view line = bytes.substr(0, bytes.find('\n'));
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
        line.remove_suffix(1);
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t'))
        line.remove_prefix(1);
    return line;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const auto path = korvath::fuzz::scratch_directory() / "phase5g-role.txt";
    const std::string_view bytes = korvath::fuzz::bytes_of(data, size);
    korvath::fuzz::write_input(path, bytes);

    const std::string kept = korvath::read_role_file(path);
    const std::string_view expected = trimmed_first_line(bytes);
    check(expected.starts_with(kept), "the kept line is no start of the trimmed first line");
    check(kept.size() == expected.size() || kept.size() >= 256, "a short first line was cut");
    check(korvath::role_from_text(kept) == (expected == "CLIENT_B"), "the role differs from the plain rule");
    return 0;
}
