/// @file
/// The tool package that a medium is made from.
#pragma once

#include "inputs/checksum.h"
#include "support/descriptor.h"
#include "trust/signature.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velacreate {

class PackageReader;

/// Only jobs of keys need the clone images.
enum class CloneImages { wanted, unwanted };

/// What a tool package must be signed by, and where a copy of it may lie.
struct PackageTrust {
    const PublicKeys* keys;
    const NamedDirectory* place;
};

/// A zip archive from someone else. It is held open, and libarchive checks its entries. The library unpacks
/// only a new archive, which velacreate writes from these entries: programs read a malformed archive in
/// different ways, so a check of the original would prove nothing.
///
/// Only "boot" is used, and the clone images if they are wanted.
class ToolPackage {
public:
    struct Entry {
        std::uint64_t size;
        bool isDirectory;
    };

    /// Opens the package and checks the headers of all entries.
    /// Refuses a file that is not a zip archive; an entry that is encrypted, or is neither a file nor a
    /// directory; a name that is absolute, empty, too long, not UTF-8, has more than 64 parts, contains "..",
    /// ";", a control character or a backslash (other systems write it instead of a slash), or has "-" at the
    /// beginning of its first or second part; a file of more than 1 TiB; two entries with the same name; a
    /// top-level name of the job (see names.h) except "boot" and the clone images; a package with no "boot/"
    /// or an empty one. The message names the package and the entry. It says when "boot" is one level too
    /// deep.
    /// @param trust  if there is one, the package is first copied to where no other user can change it. The
    /// copy is used. It must have a good signature, the file ZIP.minisig beside the package.
    /// @throw Refusal
    ToolPackage(const std::string& path, CloneImages cloneImages,
                const std::optional<PackageTrust>& trust = std::nullopt);

    /// The entries that are used, by name without a slash at the end, such as "boot/grub.cfg". Directories
    /// that occur only in paths of files are included.
    const std::map<std::string, Entry>& entries() const { return m_entries; }

    /// Refuses a package without this file, such as "boot/efibootimg".
    /// @param purpose  for the message, such as "a UEFI image starts from it"
    void requireFile(const std::string& name, const std::string& purpose) const;

    /// @return the beginning of a clone image, with all that lies before its file system, in a file in
    /// memory; closed when the package lacks it
    /// @throw Failure
    Descriptor beginningOf(const std::string& cloneImage) const;

    /// The size of all used entries.
    std::uint64_t unpackedSize() const;

    /// @return the SHA-256 sum of the package as the user has it
    /// @throw Refusal when it has changed
    std::string sum() const;

    /// The path as the user wrote it.
    const std::string& path() const { return m_path; }

    /// Whether a file is this package.
    bool isFile(const struct stat& other) const { return isSameFile(m_original, other); }

    /// Nothing without trust.
    const std::optional<GoodSignature>& signature() const { return m_signature; }

    /// Writes the used entries as a new, uncompressed zip archive, with times and modes; the owner may always
    /// read and write. Reads the whole package, including checksums, and checks each entry again.
    /// @param sums  gets the sum of each file, by its name; may be null
    /// @throw Refusal when the package is damaged or has changed; Failure when the output cannot be written
    void writeTo(const Descriptor& output, const Advance& advance, Sums* sums = nullptr) const;

    /// Unpacks "boot" into a directory with the same checks. Only the owner may read and write the files.
    /// @param sums  as above
    /// @throw as above
    void unpackTo(const Descriptor& directory, const Advance& advance, Sums* sums = nullptr) const;

private:
    void requireAsChecked(bool isAsChecked) const;

    /// Reads the whole package.
    /// @param cloneImages  whether they are passed on too
    void readWhole(CloneImages cloneImages, const std::function<void(PackageReader& reader)>& use) const;

    std::string m_path;
    CloneImages m_cloneImages;
    Descriptor m_file; ///< the package, or the copy
    struct stat m_original;
    std::optional<GoodSignature> m_signature;
    struct stat m_found; ///< of the file that is used, at the time of the check
    std::map<std::string, Entry> m_entries;
    std::map<std::string, std::string> m_beginnings; ///< of clone images
};

} // namespace velacreate
