/// @file
/// The update files that a user has chosen.
#pragma once

#include "inputs/checksum.h"
#include "support/descriptor.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

class ToolPackage;

/// Files and directories below one directory, which is held open and only read. Its owner may change it at
/// any time, so files are opened only through the open descriptor, and never through links.
class UpdateFiles {
public:
    struct Entry {
        std::string source; ///< below the directory
        std::uint64_t size;
        bool isDirectory;
        struct stat found; ///< at the time of the check
    };

    /// Finds all chosen files.
    /// On the medium, a file has its path below the directory, and a chosen directory has its last name, as
    /// the library copies them. A path may be relative to the directory, or absolute and below it, by its
    /// given or its real name. A slash at the end and repeated names are allowed.
    ///
    /// No path, or only the directory itself, chooses everything in it. The tool package must then not be in
    /// it.
    ///
    /// Refuses a path that does not exist, lies elsewhere, contains "..", or is the directory itself and not
    /// alone; anything but files and directories; what cannot be read; two files with the same place on the
    /// medium; a path with more than 500 parts or 4000 bytes; a name with a control character; a top-level
    /// name that begins with "-", is used by the job (see names.h), or contains a double quote, "$", a
    /// backquote or a backslash, which the library cannot quote.
    /// @throw Refusal
    UpdateFiles(const std::string& directory, const std::vector<std::string>& chosen,
                const ToolPackage& package);

    /// By place on the medium, including the directories above each place.
    const std::map<std::string, Entry>& entries() const { return m_entries; }

    /// The top-level names of all places, for the library.
    std::vector<std::string> topLevel() const;

    /// The number of files, including those in directories.
    std::size_t fileCount() const;
    std::uint64_t totalSize() const;

    /// Whether a file is one of them.
    bool contain(const struct stat& other) const;

    /// Whether an open directory was chosen or lies in a chosen one. Output made there would be copied too.
    bool hold(const struct stat& directory) const;

    /// @return what to do about a file that must not be among the update files, for the end of a message;
    /// empty when not everything in the directory was chosen
    const char* advice() const;

    /// Copies all files to their places below a directory. They keep their time and the owner's right to
    /// execute, and are readable and writable for the owner.
    /// @param sums  set to the sum of each file, by its place; may be null
    /// @throw Failure when one cannot be copied or has changed
    void copyTo(int directory, const Advance& advance, Sums* sums = nullptr) const;

private:
    Descriptor m_directory;
    bool m_isEverything = false;
    std::map<std::string, Entry> m_entries;
    std::vector<struct stat> m_whole; ///< the directories that are copied with their content
};

} // namespace velacreate
