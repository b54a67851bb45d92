#pragma once
// What the tools' command lines share on top of CLI11: the same conventions on every platform, and a
// parse of arguments already in UTF-8.

#include <CLI/CLI.hpp>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::cli {

// Replaces the default help flag with one whose callback runs first among the command's options, so
// that --help wins over a bad value given on the same line. Call before adding any other option.
inline auto add_help_flag(CLI::App& app) -> void {
    app.set_help_flag();
    app.add_flag_callback(
        "-h,--help", [] { throw CLI::CallForHelp(); }, "print this help and exit");
}

// A program whose options read alike on every platform: "/x" is a path on Windows too (no "/option"),
// a flag takes no "=value", and an option given twice is an error. Subcommands inherit all of it.
inline auto configure_app(CLI::App& app, std::size_t helpColumn) -> void {
    app.allow_windows_style_options(false);
    app.option_defaults()->disable_flag_override();
    app.get_formatter()->column_width(helpColumn);
    add_help_flag(app);
}

// `args` without the program name. Throws CLI::ParseError, and what the options' callbacks throw.
inline auto parse(CLI::App& app, std::span<const std::string_view> args) -> void {
    std::vector<std::string> reversed(args.rbegin(), args.rend()); // CLI11 takes them from the back
    app.parse(reversed);
}

} // namespace korvath::cli
