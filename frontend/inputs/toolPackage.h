/// @file
/// The tool package that a medium is made from.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace velacreate {

class PackageReader;

/// Only jobs of keys need the clone images.
enum class CloneImages { wanted, unwanted };

/// A zip archive from somebody else. It is held open, and libarchive checks its entries. What is unpacked
/// later is an archive that velacreate has written itself from these entries: programs read a damaged archive
/// in different ways, so a check of the original would prove nothing.
///
/// Only "boot" is used, and the clone images where they are wanted.
class ToolPackage {
public:
    struct Entry {
        std::uint64_t size;
        bool isDirectory;
    };

    /// Opens it and checks the headers of all entries.
    ///
    /// Refused are: another file than a zip archive; an entry that is neither a file nor a directory, or is
    /// encrypted; a name that is absolute, empty, too long, not in UTF-8, of more than 64 parts, with "..",
    /// ";", a control character or a backslash (other systems write one for a slash), or with "-" at the
    /// beginning of one of its first two parts; a file of more than 1 TiB; two entries with one name; a
    /// top-level name of the job (see names.h) except "boot" and the clone images; a package without "boot/"
    /// or with an empty one. The message names the package and the entry. A "boot" one level too deep has a
    /// message of its own.
    /// @throw Refusal
    ToolPackage(const std::string& path, CloneImages cloneImages);

    /// All that is used, by name without a slash at the end, such as "boot/grub.cfg". Directories are
    /// included that only the paths of files name.
    const std::map<std::string, Entry>& entries() const { return m_entries; }

    /// Refuses a package without this file, such as "boot/efibootimg".
    /// @param purpose  for the message, such as "a UEFI image starts from it"
    void requireFile(const std::string& name, const std::string& purpose) const;

    /// The size of all that is used.
    std::uint64_t unpackedSize() const;

    /// As the user named it.
    const std::string& path() const { return m_path; }

    /// Whether a file is this package.
    bool isFile(const struct stat& other) const { return isSameFile(m_found, other); }

    /// Writes all that is used as a new zip archive without compression, with times and modes; the owner may
    /// always read and write. Reads the whole package, sums included, and checks each entry again.
    /// @throw Refusal when the package is damaged or has changed; Failure when the output cannot be written
    void writeTo(const Descriptor& output, const Advance& advance) const;

    /// Unpacks "boot" into a directory, for the owner only, with the same checks.
    /// @throw as above
    void unpackTo(const Descriptor& directory, const Advance& advance) const;

private:
    /// Reads the whole package.
    /// @param cloneImages whether they are passed on beside "boot"
    void readWhole(CloneImages cloneImages, const std::function<void(PackageReader& reader)>& use) const;

    std::string m_path;
    CloneImages m_cloneImages;
    Descriptor m_file;
    struct stat m_found; ///< at the time of the check
    std::map<std::string, Entry> m_entries;
};

} // namespace velacreate
