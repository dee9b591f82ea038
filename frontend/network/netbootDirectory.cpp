#include "network/netbootDirectory.h"

#include "network/servedImage.h"
#include "support/archives.h"
#include "support/failure.h"
#include "trust/mediumList.h"

#include <mediaRules.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <archive.h>
#include <fcntl.h>

namespace velacreate {

NetbootDirectory::NetbootDirectory(std::string path)
    : m_path(std::move(path)), m_directory(::open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    check(m_directory.isOpen()).orRefuse(quote(m_path));
    for (const std::string name : VelaCreation::NETBOOT_FILES) {
        const auto file = open(name);
        if (!file.isOpen() && name == VelaCreation::NETBOOT_LOADER) {
            throw Refusal(text() + " lacks " + quote(name) + ": a machine on the network starts from it");
        }
        take(name, file);
    }
    const auto archive = open(VelaCreation::NETBOOT_ARCHIVE);
    if (!archive.isOpen()) {
        throw Refusal(text() + " lacks " + quote(VelaCreation::NETBOOT_ARCHIVE) + ", with the update files");
    }
    take(VelaCreation::NETBOOT_ARCHIVE, archive);
    for (const std::string name : {MEDIUM_LIST, MEDIUM_SIGNATURE}) {
        take(name, open(name));
    }
    requireArchive(archive);
}

/// Remembers how a file was found.
void NetbootDirectory::take(const std::string& name, const Descriptor& file) {
    m_files.push_back({name, file.isOpen() ? std::optional(file.status()) : std::nullopt});
}

std::vector<std::string> NetbootDirectory::missing() const {
    std::vector<std::string> missing;
    for (const auto& file : m_files) {
        if (!file.found && !isListName(file.name)) {
            missing.push_back(file.name);
        }
    }
    return missing;
}

std::uint64_t NetbootDirectory::sizeOf(const std::string& name) const {
    const auto found = std::find_if(m_files.begin(), m_files.end(),
                                    [&](const File& file) { return file.name == name && file.found; });
    return found == m_files.end() ? 0 : static_cast<std::uint64_t>(found->found->st_size);
}

std::string NetbootDirectory::text() const {
    return "the network-boot directory " + quote(m_path);
}

void NetbootDirectory::forEachFile(
    const std::function<void(const std::string& name, const Descriptor& file)>& use) const {
    for (const auto& [name, found] : m_files) {
        if (!found) {
            continue;
        }
        const auto file = openBeneath(m_directory.number(), name, TO_READ);
        check(file.isOpen()).orFail(quote(name));
        use(name, file);
        if (!isUnchanged(*found, file.status())) {
            throw Failure(quote(name) + " was changed after it was checked");
        }
    }
}

std::string NetbootDirectory::change() const {
    struct stat now {};
    if (stat(m_path.c_str(), &now) != 0) {
        return "its directory was moved or removed";
    }
    if (!isSameFile(now, m_directory.status())) {
        return "its directory was replaced";
    }
    for (const auto& [name, found] : m_files) {
        const bool isThere = fstatat(m_directory.number(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0;
        if (isThere != found.has_value() || (isThere && !isUnchanged(*found, now))) {
            return "its file " + quote(name) +
                   (!isThere ? " was removed"
                    : found  ? " was changed"
                             : " was added");
        }
    }
    return "";
}

/// @return closed when it is missing
Descriptor NetbootDirectory::open(const std::string& name) const {
    const std::string what = quote(name) + " in " + text();
    auto file = openBeneath(m_directory.number(), name, TO_READ);
    refuseOtherThanFile(file, what);
    if (file.isOpen()) {
        requireReadable(file.status(), what);
    } else {
        check(errno == ENOENT).orRefuse(what);
    }
    return file;
}

void NetbootDirectory::requireArchive(const Descriptor& file) const {
    const auto require = [&](bool isSound, const ArchiveReader& reader) {
        if (!isSound) {
            throw Refusal(quote(VelaCreation::NETBOOT_ARCHIVE) + " in " + text() +
                          " is damaged, or no zip archive: " + reader.problem());
        }
    };
    ArchiveReader reader(file, BUFFER_SIZE);
    for (int status = reader.next(); status != ARCHIVE_EOF; status = reader.next()) {
        require(status == ARCHIVE_OK, reader);
        ArchiveReader::Block block{};
        for (status = reader.read(block); status != ARCHIVE_EOF; status = reader.read(block)) {
            require(status == ARCHIVE_OK, reader);
        }
    }
}

} // namespace velacreate
