#pragma once
// What the tools' command lines share on top of CLI11: the same conventions on every platform, and a
// parse of arguments already in UTF-8.

#include <CLI/CLI.hpp>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::cli {

// CLI11's help layout with a blank line after each command's description.
class Formatter : public CLI::Formatter {
public:
    auto make_description(const CLI::App* app) const -> std::string override {
        return CLI::Formatter::make_description(app) + "\n";
    }
};

// Replaces the default help flag with one whose callback runs first among the command's options, so
// that --help wins over a bad value given on the same line. Call before adding any other option.
inline auto add_help_flag(CLI::App& app) -> void {
    app.set_help_flag();
    app.add_flag_callback(
        "-h,--help", [] { throw CLI::CallForHelp(); }, "print this help and exit");
}

// A program whose options read alike on every platform: "/x" is a path on Windows too (no "/option"),
// a flag takes no "=value", and a second value for a single-value option is an error. Subcommands
// inherit all of it.
inline auto configure_app(CLI::App& app, std::size_t helpColumn) -> void {
    app.allow_windows_style_options(false);
    app.option_defaults()->disable_flag_override();
    auto formatter = std::make_shared<Formatter>();
    formatter->column_width(helpColumn);
    app.formatter(formatter);
    add_help_flag(app);
}

// `args` without the program name. Throws CLI::ParseError, and what the options' callbacks throw.
inline auto parse(CLI::App& app, std::span<const std::string_view> args) -> void {
    std::vector<std::string> reversed(args.rbegin(), args.rend()); // CLI11 takes them from the back
    app.parse(reversed);
}

} // namespace korvath::cli
