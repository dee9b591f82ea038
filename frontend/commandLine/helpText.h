/// @file
/// The form of --help.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace velacreate {

/// Shows each option with its value and its default.
class HelpText : public CLI::Formatter {
public:
    HelpText();

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};

} // namespace velacreate
