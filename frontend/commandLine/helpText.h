/// @file
/// The look of the help that --help shows.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace velacreate {

/// Options with what they take, and what stands when they are left out.
class HelpText : public CLI::Formatter {
public:
    HelpText();

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};

} // namespace velacreate
