#include "network/machineNames.h"

#include "support/descriptor.h"
#include "support/failure.h"
#include "support/utf8.h"

#include <algorithm>
#include <regex>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace velacreate {
namespace {
constexpr std::size_t LARGEST = 4U << 20U;
constexpr std::size_t LONGEST_LINE = 400; ///< in bytes
constexpr std::size_t LONGEST_NAME = 64;  ///< in characters

std::string contentOf(const std::string& path) {
    const auto file = openChosen(path, O_RDONLY, S_IFREG);
    std::string content(LARGEST + 1, '\0');
    const auto size = readAt(file.number(), content.data(), content.size(), 0);
    check(size >= 0).orRefuse(quote(path));
    content.resize(static_cast<std::size_t>(size));
    refuseIf(content.size() > LARGEST, quote(path) + " is too large for a list of names");
    return content;
}
} // namespace

MachineNames readMachineNames(const std::string& path) {
    static const std::regex form(R"([ \t]*(([0-9a-f]{2}:){5}[0-9a-f]{2})[ \t]+(\S(.*\S)?)[ \t\r]*)",
                                 std::regex::icase);
    MachineNames names;
    std::istringstream lines(contentOf(path));
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto place = quote(path) + ", line " + std::to_string(++number) + ": ";
        line.resize(std::min(line.size(), line.find('#')));
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        refuseIf(line.size() > LONGEST_LINE, place + "it is too long");
        std::smatch parts;
        const bool isOne = std::regex_match(line, parts, form);
        const auto name = decoded(isOne ? parts[3].str() : "");
        refuseIf(
            !isOne || !name || name->size() > LONGEST_NAME,
            place + "it is not a hardware address such as 52:54:00:12:34:56, blanks and a name of at most 64 "
                    "characters");
        auto hardware = parts[1].str();
        std::transform(hardware.begin(), hardware.end(), hardware.begin(),
                       [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
        refuseIf(!names.emplace(hardware, parts[3]).second, place + hardware + " has a name already");
    }
    return names;
}

} // namespace velacreate
