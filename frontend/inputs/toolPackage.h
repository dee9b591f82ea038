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

/// Whether the job has a use for the clone images, as only that of a key has.
enum class CloneImages { wanted, unwanted };

/// A zip archive somebody else has made. It is held open, its entries are checked by libarchive, and what is
/// unpacked later is an archive that velacreate has written itself from them: programs differ in what they
/// make of an odd archive, so that a check of one that another program then unpacks would prove nothing.
///
/// Of the top level, only "boot" is taken in, and the clone images where they are wanted; a job has no use
/// for more.
class ToolPackage {
public:
    struct Entry {
        std::uint64_t size;
        bool isDirectory;
    };

    /// Opens it and checks all entries by their headers, which takes no time.
    ///
    /// Refused are: what is no zip archive; an entry that is neither a file nor a directory, or needs a
    /// password; a name that is absolute, empty, too long, not in UTF-8, holds a "..", a ";", a control
    /// character or a backslash (in a name without a slash it stands for one, as other systems write it), or
    /// of which one of the first two parts begins with "-"; one of more than 64 parts; a file of more than 1
    /// TiB; two entries with one name (or a file where another one has a directory); a top-level entry with
    /// one of the names that the job uses itself (see names.h), "boot" and the clone images excepted; a
    /// package without "boot/" or with nothing in it. The texts name the package and the entry; a package
    /// whose boot directory lies one level too deep is told so ("is wrapped in the folder 'x'; pack what is
    /// inside it").
    /// @throw Refusal
    ToolPackage(const std::string& path, CloneImages cloneImages);

    /// All that is taken in, by name without a slash at the end, such as "boot/grub.cfg". Directories that
    /// the archive names only in the paths of files are there too.
    const std::map<std::string, Entry>& entries() const { return m_entries; }

    /// Refuses a package that lacks a file, such as "boot/efibootimg".
    /// @param purpose  for the message, such as "a UEFI image starts from it"
    void requireFile(const std::string& name, const std::string& purpose) const;

    /// Of all that is taken in.
    std::uint64_t unpackedSize() const;

    /// The package as the user named it, for messages.
    const std::string& path() const { return m_path; }

    /// Whether an open file is this one.
    bool isFile(const struct stat& other) const { return isSameFile(m_found, other); }

    /// Writes what is taken in as a new zip archive, stored and not packed, with times and modes kept,
    /// except that the owner may always read and write. Reads everything whole, sums included, and checks
    /// each entry once more.
    /// @throw Refusal when the package is damaged (the sum of an entry is wrong, it ends too early, or it is
    /// no longer what it was when it was checked); Failure when the output cannot be written
    void writeTo(const Descriptor& output, const Advance& advance) const;

    /// Unpacks "boot" into a directory, readable and writable for the owner only. The checks are the same.
    /// @throw as above
    void unpackTo(const Descriptor& directory, const Advance& advance) const;

private:
    /// Reads the package whole. Entries are used that have a name at whose top there is one of the wanted.
    void readWhole(CloneImages cloneImages, const std::function<void(PackageReader& reader)>& use) const;

    std::string m_path;
    CloneImages m_cloneImages;
    Descriptor m_file;
    struct stat m_found; ///< as it was when it was checked
    std::map<std::string, Entry> m_entries;
};

} // namespace velacreate
