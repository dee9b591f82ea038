#include "trust/description.h"

#include <iomanip>
#include <sstream>

namespace velacreate {
namespace {
constexpr const char* PROGRAM = "velacreate";
constexpr const char* PACKAGE = "package:";
constexpr const char* BOOT = "boot:";
constexpr const char* TITLE = " title:";
constexpr const char* TIME = "%Y-%m-%dT%H:%M:%SZ";

/// @return what follows the mark in a word; nothing for another word
std::optional<std::string> behind(const std::string& mark, const std::string& word) {
    return word.rfind(mark, 0) == 0 ? std::optional(word.substr(mark.size())) : std::nullopt;
}

std::vector<std::string> separated(const std::string& sums) {
    std::vector<std::string> all;
    std::istringstream input(sums);
    for (std::string sum; std::getline(input, sum, ',');) {
        all.push_back(sum);
    }
    return all;
}
} // namespace

std::string commentOf(const MediumDescription& description) {
    std::ostringstream comment;
    std::tm utc{};
    gmtime_r(&description.made, &utc);
    comment << PROGRAM << " " << description.kind << " " << std::put_time(&utc, TIME) << " " << PACKAGE
            << description.package;
    const char* before = " ";
    for (const auto& sum : description.bootCodes) {
        comment << before << (*before == ' ' ? BOOT : "") << sum;
        before = ",";
    }
    if (!description.title.empty()) {
        comment << TITLE << description.title;
    }
    return comment.str();
}

std::optional<MediumDescription> descriptionIn(const std::string& comment) {
    MediumDescription description;
    const auto title = comment.find(TITLE);
    if (title != std::string::npos) {
        description.title = comment.substr(title + std::string(TITLE).size());
    }
    std::istringstream words(comment.substr(0, title));
    std::string program;
    std::string word;
    std::tm utc{};
    words >> program >> description.kind >> std::get_time(&utc, TIME);
    description.made = timegm(&utc);
    while (words >> word) {
        if (const auto package = behind(PACKAGE, word)) {
            description.package = *package;
        } else if (const auto boot = behind(BOOT, word)) {
            description.bootCodes = separated(*boot);
        }
    }
    return commentOf(description) == comment ? std::optional(description) : std::nullopt; // nothing is lost
}

} // namespace velacreate
