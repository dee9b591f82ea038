#include "trust/signature.h"

#include "support/failure.h"
#include "support/programs.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr std::size_t ALGORITHM_SIZE = 2;
constexpr std::size_t ID_SIZE = 8;
constexpr std::size_t KEY_SIZE = ALGORITHM_SIZE + ID_SIZE + 32;
constexpr std::size_t SIGNATURE_SIZE = ALGORITHM_SIZE + ID_SIZE + 64;
constexpr std::size_t SIGNATURE_LINES = 4;
constexpr const char* ENDING = ".pub";

/// @return the lines of a file of minisign, which end with a line feed, or with a carriage return before it
std::vector<std::string> linesIn(const std::string& content) {
    std::vector<std::string> lines;
    std::istringstream input(content);
    for (std::string line; std::getline(input, line);) {
        if (!input.eof() && !line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

/// @return the line behind the comment
std::string secondLine(const std::vector<std::string>& lines) {
    return lines.size() > 1 ? lines[1] : "";
}

/// Minisign does not look at what follows these characters in a line.
bool hasHiddenPart(const std::string& line) {
    return line.find_first_of(std::string("\r\0", 2)) != std::string::npos;
}

/// @return the bytes of a text in base 64; nothing when it does not have just so many
std::optional<std::string> bytesIn(const std::string& text, std::size_t size) {
    std::string bytes(size + 2, '\0'); // whole groups of three
    const bool isLong = text.size() == (size + 2) / 3 * 4;
    const auto* const input = reinterpret_cast<const unsigned char*>(text.data());
    if (!isLong || EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), input,
                                   static_cast<int>(text.size())) < 0) {
        return {};
    }
    bytes.resize(size);
    return bytes;
}

/// @return as minisign shows it
std::string idText(const std::string& id) {
    std::uint64_t number = 0;
    for (auto byte = id.rbegin(); byte != id.rend(); ++byte) {
        number = number << 8U | static_cast<unsigned char>(*byte);
    }
    std::ostringstream text;
    text << std::hex << std::uppercase << number;
    return text.str();
}

std::string idIn(const std::string& signature) {
    const auto lines = linesIn(signature);
    const auto bytes = bytesIn(secondLine(lines), SIGNATURE_SIZE);
    if (!bytes || lines.size() != SIGNATURE_LINES || signature.size() >= LARGEST_SIGNATURE ||
        std::any_of(lines.begin(), lines.end(), hasHiddenPart)) {
        throw Untrusted("its signature is not in the form of minisign");
    }
    return bytes->substr(ALGORITHM_SIZE, ID_SIZE);
}

/// For minisign, which inherits it.
Descriptor openInherited(const Descriptor& file) {
    Descriptor same(fcntl(file.number(), F_DUPFD, 0));
    check(same.isOpen()).orFail("a file for minisign");
    return same;
}

/// @return the trusted comment of a good signature
std::optional<std::string> commentIfGood(const std::string& key, const Descriptor& content,
                                         const Descriptor& signature) {
    const auto [status, output] =
        runProgram({"minisign", "-V", "-Q", "-P", key, "-x", signature.path(), "-m", content.path()});
    if (status > 2) { // 1 and 2 tell what is wrong with a signature
        throw Failure("minisign cannot be run, or ended with " + std::to_string(status));
    }
    return status == 0 ? std::optional(output.substr(0, output.find('\n'))) : std::nullopt;
}
} // namespace

PublicKeys::PublicKeys(const std::vector<std::string>& paths) {
    requirePrograms({"minisign"});
    for (const auto& path : paths) {
        std::error_code cannotBeRead; // then it is refused as a file
        if (std::filesystem::is_directory(path, cannotBeRead)) {
            addDirectory(path);
        } else {
            add(path);
        }
    }
}

void PublicKeys::addDirectory(const std::string& path) {
    const NamedDirectory keys{path, openChosen(path, O_RDONLY | O_DIRECTORY, S_IFDIR)};
    std::set<std::string> names;
    forEachEntry(keys.number(), [&](const std::string& name) {
        if (std::filesystem::path(name).extension() == ENDING) {
            names.insert(name);
        }
    });
    refuseIf(names.empty(),
             "the directory " + quote(path) + " has no public key, such as 'name" + ENDING + "'");
    for (const auto& name : names) {
        add(keys.pathOf(name));
    }
}

void PublicKeys::add(const std::string& path) {
    const auto file = openChosen(path, O_RDONLY, S_IFREG);
    std::string content(LARGEST_SIGNATURE, '\0');
    const auto size = readAt(file.number(), content.data(), content.size(), 0);
    check(size >= 0).orRefuse(quote(path));
    content.resize(static_cast<std::size_t>(size));
    const auto text = secondLine(linesIn(content));
    const auto bytes = bytesIn(text, KEY_SIZE);
    refuseIf(!bytes || bytes->rfind("Ed", 0) != 0, quote(path) + " is no public key of minisign");
    m_keys.push_back({path, text, bytes->substr(ALGORITHM_SIZE, ID_SIZE)});
}

GoodSignature PublicKeys::requireGood(const Descriptor& content, const std::string& signature) const {
    const auto id = idIn(signature);
    const Descriptor file(memfd_create("signature", 0));
    check(file.isOpen()).orFail("a file for a signature");
    writeAll(file, signature.data(), signature.size(), "a signature");
    const auto inherited = openInherited(content);
    bool isKnown = false;
    for (const auto& key : m_keys) {
        if (key.id != id) {
            continue;
        }
        isKnown = true;
        if (const auto comment = commentIfGood(key.text, inherited, file)) {
            return {key.path, *comment};
        }
    }
    throw Untrusted(isKnown ? "its signature does not fit: one of the two was changed"
                            : "its signature is by another key, which is not trusted: " + idText(id));
}

} // namespace velacreate
