#include "inputs/requiredSums.h"

#include "inputs/checksum.h"
#include "support/failure.h"
#include "support/texts.h"
#include "trust/signedInput.h"

#include <algorithm>
#include <functional>
#include <sstream>

#include <fcntl.h>
#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr std::size_t LARGEST_LIST = 64 << 20;
constexpr const char* HERE = "./";

std::string contentOf(const Descriptor& file, const std::string& what) {
    std::string content(LARGEST_LIST + 1, '\0');
    const auto size = readAt(file.number(), content.data(), content.size(), 0);
    check(size >= 0).orRefuse(what);
    content.resize(static_cast<std::size_t>(size));
    refuseIf(content.size() > LARGEST_LIST, what + " is larger than " + sizeText(LARGEST_LIST));
    return content;
}

/// @return a file with these very bytes, to check the signature of
Descriptor inMemory(const std::string& content) {
    Descriptor file(memfd_create("list", MFD_CLOEXEC));
    check(file.isOpen()).orFail("a file for a list");
    writeAll(file, content.data(), content.size(), "a list");
    return file;
}

/// @return the name that sha256sum has escaped; empty when it is none
std::string withoutEscapes(const std::string& name) {
    std::string result;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] != '\\') {
            result += name[at];
            continue;
        }
        const auto kind = std::string("\\nr").find(++at < name.size() ? name[at] : '\0');
        if (kind == std::string::npos) {
            return "";
        }
        result += "\\\n\r"[kind];
    }
    return result;
}

std::string inSmallLetters(std::string sum) {
    std::transform(sum.begin(), sum.end(), sum.begin(), [](unsigned char letter) {
        return letter >= 'A' && letter <= 'F' ? static_cast<char>(letter - 'A' + 'a')
                                              : static_cast<char>(letter);
    });
    return sum;
}

/// Refuses the update files that a test does not hold for.
/// @param fault  such as "not in the list 'x'"
void requireAll(
    const UpdateFiles& updates, const std::string& fault,
    const std::function<bool(const std::string& place, const UpdateFiles::Entry& entry)>& isGood) {
    std::vector<std::string> wrong;
    for (const auto& [place, entry] : updates.entries()) {
        if (!entry.isDirectory && !isGood(place, entry)) {
            wrong.push_back(entry.source);
        }
    }
    refuseIf(wrong.size() == 1, "update file " + namesText(wrong) + " is " + fault);
    refuseIf(wrong.size() > 1,
             std::to_string(wrong.size()) + " update files are " + fault + ": " + namesText(wrong));
}
} // namespace

RequiredSums::RequiredSums(const std::string& path, const PublicKeys* keys)
    : m_text("the list of sums " + quote(path)) {
    const auto file = openChosen(path, O_RDONLY, S_IFREG);
    const auto content = contentOf(file, m_text);
    const auto signature = signatureBeside(path);
    if (keys != nullptr) {
        m_signature = requireSigned(inMemory(content), signature, path, m_text, *keys);
    }
    m_own.push_back({file.status(), sha256Of(content)});
    if (signature) {
        m_own.push_back({signature->found, sha256Of(signature->content)});
    }
    std::istringstream lines(content);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        add(line, ++number);
    }
}

void RequiredSums::add(const std::string& line, std::size_t number) {
    const std::size_t start = line.rfind('\\', 0) == 0 ? 1 : 0;
    const auto end = start + SUM_DIGITS;
    const auto sum = inSmallLetters(line.substr(start, SUM_DIGITS));
    const auto mark = line.size() > end ? line.substr(end, 2) : "";
    std::string name = line.size() > end + 2 ? line.substr(end + 2) : "";
    if (!name.empty() && name.back() == '\r') { // of a system with other line ends
        name.pop_back();
    }
    if (start != 0) {
        name = withoutEscapes(name);
    }
    while (name.rfind(HERE, 0) == 0) {
        name.erase(0, 2);
    }
    const auto where = "line " + std::to_string(number) + " of " + m_text;
    refuseIf(sum.find_first_not_of("0123456789abcdef") != std::string::npos ||
                 (mark != "  " && mark != " *") || name.empty(),
             where + " is not in the form of sha256sum");
    refuseIf(m_sums.emplace(name, sum).first->second != sum, where + " has another sum of " + quote(name));
}

std::string RequiredSums::sumFor(const UpdateFiles::Entry& entry) const {
    const auto own = std::find_if(m_own.begin(), m_own.end(),
                                  [&](const OwnFile& file) { return isSameFile(file.found, entry.found); });
    if (own != m_own.end()) {
        return own->sum;
    }
    const auto listed = m_sums.find(entry.source);
    return listed == m_sums.end() ? "" : listed->second;
}

void RequiredSums::requireListed(const UpdateFiles& updates) const {
    requireAll(updates, "not in " + m_text,
               [this](const std::string& /*place*/, const auto& entry) { return !sumFor(entry).empty(); });
}

void RequiredSums::requireEqual(const UpdateFiles& updates, const Sums& sums) const {
    requireAll(updates, "not what " + m_text + " says",
               [&](const std::string& place, const auto& entry) { return sums.at(place) == sumFor(entry); });
}

} // namespace velacreate
