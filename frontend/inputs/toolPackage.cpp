#include "inputs/toolPackage.h"

#include "inputs/checksum.h"
#include "inputs/limits.h"
#include "inputs/names.h"
#include "inputs/packageReader.h"
#include "support/beneath.h"
#include "support/failure.h"
#include "trust/signedInput.h"

#include <bootableMedia.h>
#include <cloneImage.h>
#include <mediaRules.h>

#include <algorithm>
#include <optional>
#include <set>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/mman.h>

namespace velacreate {
namespace {
const std::string& BOOT = VelaCreation::BootableMedia::BOOT_FILE;

/// Small, because a whole block is read after each skipped entry.
constexpr std::size_t BLOCK_FOR_HEADERS = 16 << 10;

using Entries = std::map<std::string, ToolPackage::Entry>;

Descriptor openedFile(const std::string& path) {
    Descriptor file(open(path.c_str(), TO_READ | O_CLOEXEC));
    check(file.isOpen()).orRefuse(packageText(path));
    if (!S_ISREG(file.status().st_mode)) {
        throw Refusal(packageText(path) + " is no file");
    }
    return file;
}

bool isWanted(const std::string& name, CloneImages cloneImages) {
    return topOf(name) == BOOT || (cloneImages == CloneImages::wanted && isCloneImage(name));
}

void checkTop(const PackageReader& reader) {
    const std::string top = topOf(reader.name());
    const bool isTop = top == reader.name();
    if (isCloneImage(top) && !(isTop && !reader.isDirectory())) {
        reader.refuse("stands where a clone image should");
    }
    if (top == BOOT && isTop && !reader.isDirectory()) {
        reader.refuse("is no directory");
    }
    if (isJobName(top) && top != BOOT && !isCloneImage(top)) {
        reader.refuse("has a name that the job uses itself");
    }
}

/// All entries of a package, with unique names.
class Listing {
public:
    void add(const PackageReader& reader) {
        for (const std::string& ancestor : ancestorsOf(reader.name())) {
            if (!m_all.try_emplace(ancestor, ToolPackage::Entry{0, true}).first->second.isDirectory) {
                reader.refuse("lies in what is a file");
            }
        }
        const ToolPackage::Entry entry{reader.size(), reader.isDirectory()};
        const auto [known, isNew] = m_all.try_emplace(reader.name(), entry);
        if (!m_named.insert(reader.name()).second) {
            reader.refuse("is there twice");
        }
        if (!isNew && !entry.isDirectory) {
            reader.refuse("is a file and a directory");
        }
    }

    Entries wanted(CloneImages cloneImages) const {
        Entries result;
        for (const auto& [name, entry] : m_all) {
            if (isWanted(name, cloneImages)) {
                result.emplace(name, entry);
            }
        }
        return result;
    }

    /// @return the folder with the boot directory, when that is one level too deep; else empty
    std::string wrapper() const {
        for (const auto& [name, entry] : m_all) {
            const std::vector<std::string> parts = partsOf(name);
            if (entry.isDirectory && parts.size() == 2 && parts[1] == BOOT) {
                return parts[0];
            }
        }
        return "";
    }

private:
    Entries m_all;
    std::set<std::string> m_named; ///< without directories that occur only in paths of files
};

void requireBoot(const Listing& listing, const Entries& wanted, const std::string& path) {
    if (std::any_of(wanted.begin(), wanted.end(), [](const auto& item) { return isBootFile(item.first); })) {
        return;
    }
    if (const std::string wrapper = listing.wrapper(); !wrapper.empty()) {
        throw Refusal(packageText(path) + " is wrapped in the folder " + quote(wrapper) +
                      "; pack what is inside it");
    }
    throw Refusal(packageText(path) + (wanted.count(BOOT) > 0 ? " has nothing in boot/" : " has no boot/"));
}

class Rewriter {
public:
    explicit Rewriter(const Descriptor& output) : m_archive(beginZip(output)), m_entry(archive_entry_new()) {}

    void begin(const PackageReader& reader) {
        archive_entry* entry = m_entry.get();
        archive_entry_clear(entry);
        archive_entry_set_pathname(entry, reader.name().c_str());
        archive_entry_set_filetype(entry, reader.isDirectory() ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry, rights(reader));
        archive_entry_set_size(entry, static_cast<std::int64_t>(reader.size()));
        archive_entry_set_mtime(entry, archive_entry_mtime(reader.header()), 0);
        require(archive_write_header(m_archive.get(), entry) == ARCHIVE_OK);
    }

    void write(const void* data, std::size_t size) {
        require(archive_write_data(m_archive.get(), data, size) == static_cast<la_ssize_t>(size));
    }

    void end() { require(archive_write_close(m_archive.get()) == ARCHIVE_OK); }

private:
    /// The package's mode. The owner may always read and write.
    static mode_t rights(const PackageReader& reader) {
        const mode_t own = reader.isDirectory() ? S_IRWXU : S_IRUSR | S_IWUSR;
        return (archive_entry_perm(reader.header()) & (S_IRWXU | S_IRWXG | S_IRWXO)) | own;
    }

    void require(bool isDone) const {
        if (!isDone) {
            throw Failure("writing the copy of the tool package: " + problemOf(m_archive));
        }
    }

    Archive m_archive;
    ArchiveEntry m_entry;
};

/// Passes the current file on.
/// @param sums  gets its sum; may be null
void readFile(PackageReader& reader, Sums* sums, const Advance& advance, const UseBytes& use) {
    std::optional<Sha256> sum;
    if (sums != nullptr) {
        sum.emplace();
    }
    reader.read([&](const void* data, std::size_t size) {
        use(data, size);
        if (sum) {
            sum->add(data, size);
        }
        advance(size);
    });
    if (sum && !reader.isDirectory()) {
        sums->emplace(reader.name(), sum->digits());
    }
}
} // namespace

ToolPackage::ToolPackage(const std::string& path, CloneImages cloneImages,
                         const std::optional<PackageTrust>& trust)
    : m_path(path), m_cloneImages(cloneImages), m_file(openedFile(path)), m_original(m_file.status()) {
    if (trust) {
        const auto text = packageText(path);
        m_file = privateCopyOf(m_file, text, *trust->place);
        m_signature = requireSigned(m_file, signatureBeside(path), path, text, *trust->keys);
    }
    m_found = m_file.status();
    PackageReader reader(m_file, path, BLOCK_FOR_HEADERS);
    Listing listing;
    while (reader.next()) {
        checkTop(reader);
        listing.add(reader);
        if (cloneImages == CloneImages::wanted && isCloneImage(reader.name())) {
            m_beginnings[reader.name()] =
                reader.readBeginning(VelaCreation::LARGEST_START * VelaCreation::SECTOR_SIZE);
        }
    }
    m_entries = listing.wanted(cloneImages);
    requireBoot(listing, m_entries, path);
}

void ToolPackage::requireFile(const std::string& name, const std::string& purpose) const {
    const auto found = m_entries.find(name);
    if (found == m_entries.end() || found->second.isDirectory) {
        throw Refusal(packageText(m_path) + " lacks " + quote(name) + "; " + purpose);
    }
}

Descriptor ToolPackage::beginningOf(const std::string& cloneImage) const {
    const auto found = m_beginnings.find(cloneImage);
    if (found == m_beginnings.end()) {
        return Descriptor();
    }
    Descriptor file(memfd_create("clone image", MFD_CLOEXEC));
    check(file.isOpen()).orFail("a file for a clone image");
    writeAll(file, found->second.data(), found->second.size(), cloneImage);
    return file;
}

std::uint64_t ToolPackage::unpackedSize() const {
    return sizeOfAll(m_entries);
}

std::string ToolPackage::sum() const {
    auto sum = sha256Of(m_file);
    requireAsChecked(isUnchanged(m_found, m_file.status()));
    return sum;
}

void ToolPackage::requireAsChecked(bool isAsChecked) const {
    refuseIf(!isAsChecked, packageText(m_path) + " was changed after it had been checked");
}

void ToolPackage::readWhole(CloneImages cloneImages,
                            const std::function<void(PackageReader& reader)>& use) const {
    requireAsChecked(isUnchanged(m_found, m_file.status()));
    PackageReader reader(m_file, m_path, BUFFER_SIZE);
    std::uint64_t size = 0;
    while (reader.next()) {
        if (isWanted(reader.name(), m_cloneImages)) {
            const auto known = m_entries.find(reader.name());
            requireAsChecked(known != m_entries.end() && known->second.isDirectory == reader.isDirectory() &&
                             known->second.size == reader.size());
            size += reader.size();
        }
        if (isWanted(reader.name(), cloneImages)) {
            use(reader);
        } else {
            reader.read([](const void*, std::size_t) {});
        }
    }
    requireAsChecked(size == unpackedSize() && isUnchanged(m_found, m_file.status()));
}

void ToolPackage::writeTo(const Descriptor& output, const Advance& advance, Sums* sums) const {
    Rewriter writer(output);
    readWhole(m_cloneImages, [&](PackageReader& reader) {
        writer.begin(reader);
        readFile(reader, sums, advance,
                 [&](const void* data, std::size_t size) { writer.write(data, size); });
    });
    writer.end();
}

void ToolPackage::unpackTo(const Descriptor& directory, const Advance& advance, Sums* sums) const {
    const std::string problem = "unpacking the tool package";
    Beneath target(directory.number());
    for (const auto& [name, entry] : m_entries) {
        if (entry.isDirectory) {
            check(target.makeDirectory(name, S_IRWXU)).orFail(problem);
        }
    }
    readWhole(CloneImages::unwanted, [&](PackageReader& reader) {
        if (reader.isDirectory()) {
            return;
        }
        const auto file = target.open(reader.name(), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        check(file.isOpen()).orFail(problem);
        readFile(reader, sums, advance, [&](const void* data, std::size_t size) {
            writeAll(file, static_cast<const char*>(data), size, reader.name());
        });
    });
}

} // namespace velacreate
