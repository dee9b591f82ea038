#include "commandLine/helpText.h"

#include <sstream>

namespace velacreate {
namespace {
constexpr std::size_t NAMES_WIDTH = 30;
constexpr std::size_t TEXT_WIDTH = 79 - NAMES_WIDTH;

std::string inLines(const std::string& text) {
    std::string lines;
    std::size_t width = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const bool isNewLine = width + word.size() >= TEXT_WIDTH;
        lines += (lines.empty() ? "" : isNewLine ? "\n" : " ") + word;
        width = isNewLine ? word.size() : width + 1 + word.size();
    }
    return lines;
}
} // namespace

HelpText::HelpText() {
    column_width(NAMES_WIDTH);
}

std::string HelpText::make_option_name(const CLI::Option* option, bool isPositional) const {
    const auto name = CLI::Formatter::make_option_name(option, isPositional);
    // Hides the value of a flag's negative form, and an option's old name.
    const bool isFlag = option->get_expected_max() == 0;
    return name.substr(0, name.find(isFlag ? '{' : ','));
}

std::string HelpText::make_option_opts(const CLI::Option* option) const {
    return option->get_type_size() != 0 && !option->get_positional() ? " " + option->get_type_name() : "";
}

std::string HelpText::make_option_desc(const CLI::Option* option) const {
    const auto standing = option->get_default_str();
    return inLines(option->get_description() + (standing.empty() ? "" : " (default: " + standing + ")") +
                   (option->get_required() && !option->get_positional() ? " (required)" : ""));
}

} // namespace velacreate
