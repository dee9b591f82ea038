#include "inputs/packageReader.h"

#include "inputs/names.h"
#include "support/failure.h"
#include "support/utf8.h"

#include <algorithm>
#include <utility>

#include <archive.h>
#include <archive_entry.h>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_PART = 255; ///< the limit of file systems
constexpr std::size_t LONGEST_NAME = 1024;
constexpr std::size_t MOST_PARTS = 64; ///< the path of each directory is kept in memory
constexpr std::uint64_t LARGEST_FILE = std::uint64_t{1} << 40;

/// Zip archives mark a directory with a slash at the end, and some programs write "./" in front.
std::string plainName(std::string name) {
    while (name.compare(0, 2, "./") == 0) {
        name.erase(0, 2);
    }
    if (name.size() > 1 && name.back() == '/') {
        name.pop_back();
    }
    return name;
}

std::string objectionToText(const std::string& name) {
    if (!decoded(name)) {
        return "has a name that is not in UTF-8";
    }
    if (holdsControlCharacter(name)) {
        return "has a control character in its name";
    }
    if (const std::size_t at = name.find_first_of("\\;"); at != std::string::npos) {
        return std::string("holds the character ") + name[at];
    }
    return "";
}

std::string objectionToParts(const std::string& name) {
    const std::vector<std::string> parts = partsOf(name);
    if (parts.size() > MOST_PARTS) {
        return "lies too deep";
    }
    for (std::size_t at = 0; at < parts.size(); ++at) {
        const std::string& part = parts[at];
        if (part.empty() || part == "." || part == "..") {
            return name.front() == '/' ? "has an absolute name" : "has a part '" + part + "' in its name";
        }
        if (part.front() == '-' && at < 2) {
            return "has a name that programs would take for an option";
        }
        if (part.size() > LONGEST_PART || name.size() > LONGEST_NAME) {
            return "has a name that is too long";
        }
    }
    return "";
}
} // namespace

std::string packageText(const std::string& path) {
    return "the tool package " + quote(path);
}

PackageReader::PackageReader(const Descriptor& file, std::string path, std::size_t blockSize)
    : m_path(std::move(path)), m_reader(file, blockSize) {}

bool PackageReader::next() {
    for (;;) {
        const int status = m_reader.next();
        if (status == ARCHIVE_EOF) {
            return false;
        }
        if (status == ARCHIVE_WARN && !Utf8Locale::isInstalled()) {
            throw Failure(packageText(m_path) +
                          " has names that only the locale C.UTF-8 can read; install it");
        }
        if (status != ARCHIVE_OK) {
            throw Refusal(packageText(m_path) + " is damaged, or no zip archive: " + m_reader.problem());
        }
        const char* name = archive_entry_pathname(header());
        m_name = plainName(name != nullptr ? name : "");
        checkKind();
        if (!m_name.empty() || !isDirectory()) { // "./" is the folder that was packed
            checkName();
            return true;
        }
    }
}

bool PackageReader::isDirectory() const {
    return archive_entry_filetype(header()) == AE_IFDIR;
}

std::uint64_t PackageReader::size() const {
    return isDirectory() ? 0 : static_cast<std::uint64_t>(archive_entry_size(header()));
}

void PackageReader::checkKind() const {
    if (archive_entry_is_encrypted(header()) != 0) {
        refuse("needs a password");
    }
    const bool isFile =
        archive_entry_filetype(header()) == AE_IFREG && archive_entry_hardlink(header()) == nullptr;
    if (!isFile && !isDirectory()) {
        refuse("is neither a file nor a directory");
    }
    if (isFile && (archive_entry_size_is_set(header()) == 0 || archive_entry_size(header()) < 0)) {
        refuse("has no known size");
    }
    if (size() > LARGEST_FILE) {
        refuse("is too large");
    }
}

void PackageReader::checkName() const {
    if (m_name.empty()) {
        refuse("has no name");
    }
    for (const std::string& objection : {objectionToText(m_name), objectionToParts(m_name)}) {
        if (!objection.empty()) {
            refuse(objection);
        }
    }
}

void PackageReader::read(const UseBytes& use) {
    std::uint64_t left = size();
    for (;;) {
        ArchiveReader::Block block{};
        const int status = m_reader.read(block);
        if (status != ARCHIVE_OK && status != ARCHIVE_EOF) {
            refuse("cannot be unpacked: " + m_reader.problem());
        }
        if (block.size > left) { // stop, because the data may never end
            refuse("is larger than the archive says");
        }
        left -= block.size;
        if (block.size > 0) {
            use(block.data, block.size);
        }
        if (status == ARCHIVE_EOF) {
            break;
        }
    }
    if (left > 0) {
        refuse("is smaller than the archive says");
    }
}

std::string PackageReader::readBeginning(std::size_t size) {
    std::string text;
    int status = ARCHIVE_OK;
    while (status == ARCHIVE_OK && text.size() < size) {
        ArchiveReader::Block block{};
        status = m_reader.read(block);
        if (status != ARCHIVE_OK && status != ARCHIVE_EOF) {
            refuse("cannot be unpacked: " + m_reader.problem());
        }
        text.append(static_cast<const char*>(block.data), std::min(block.size, size - text.size()));
    }
    return text;
}

void PackageReader::refuse(const std::string& objection) const {
    throw Refusal(packageText(m_path) + ": " + quote(m_name) + " " + objection);
}

} // namespace velacreate
