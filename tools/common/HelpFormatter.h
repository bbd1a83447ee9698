#ifndef RTIQN_TOOLS_HELP_FORMATTER_H
#define RTIQN_TOOLS_HELP_FORMATTER_H

#include <CLI/CLI.hpp>
#include <string>

namespace RtiqnTools {

/// What --help prints, within 80 columns: texts are wrapped, and of each command only the first
/// sentence is shown beside its name.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;
    std::string make_description(const CLI::App* app) const override;
    std::string make_footer(const CLI::App* app) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
};

/// The names of an option or an argument: "-h, --help", "MODULE".
std::string namesOf(const CLI::Option& option);

/// What stands behind the names in a help text: "text|json"; empty for a flag.
std::string shapeOf(const CLI::Option& option);

}  // namespace RtiqnTools

#endif
