/// @file
/// The update files that a user has chosen.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// Files and directories below one directory, which is held open and only read. Whoever owns it may change it
/// at any time; it is therefore only entered through the open descriptor, and never over a link.
class UpdateFiles {
public:
    struct Entry {
        std::string source; ///< its path below the directory
        std::uint64_t size;
        bool isDirectory;
        struct stat found; ///< as it was when it was found
    };

    /// Finds everything that was chosen.
    ///
    /// A file stands on the medium at its path below the directory, a chosen directory under its last name:
    /// that is what the library makes of them. A path may be relative to the directory, or absolute when it
    /// lies below it (as the directory was named, or as it really is); a slash at the end is fine, and so is
    /// naming something twice.
    ///
    /// Refused, by name, are: what does not exist, lies elsewhere (".." included) or is the directory itself;
    /// what is, or holds, a link or anything else that is no file and no directory; what cannot be read; two
    /// different files with one place on the medium, or a file where another one has a directory; a name with
    /// a control character (also beyond ASCII); a place that begins with "-", with a top-level name that the
    /// job uses itself (see names.h) or with one that holds a double quote, "$", a backquote or a
    /// backslash, which no command could carry.
    /// @throw Refusal
    UpdateFiles(const std::string& directory, const std::vector<std::string>& chosen);

    /// By place on the medium, all directories on the way included.
    const std::map<std::string, Entry>& entries() const { return m_entries; }

    /// The top-level names of the places, for the library.
    std::vector<std::string> topLevel() const;

    /// How many files there are, in directories too.
    std::size_t fileCount() const;
    std::uint64_t totalSize() const;

    /// Whether one of them, in directories too, is this file.
    bool contain(const struct stat& other) const;

    /// Whether an open directory is one that was chosen, or lies in one: what is made there would change what
    /// is taken in. One that is only on the way to a file is not.
    bool hold(const struct stat& directory) const;

    /// Copies everything to its place below a directory. Files keep the owner's right to execute and their
    /// time; they are readable and writable for the owner, whatever they were.
    /// @throw Failure when one cannot be copied, or is no longer what it was when it was found
    void copyTo(int directory, const Advance& advance) const;

private:
    Descriptor m_directory;
    std::map<std::string, Entry> m_entries;
    std::vector<struct stat> m_whole; ///< the directories that are taken with what is in them
};

} // namespace velacreate
