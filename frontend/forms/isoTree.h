/// @file
/// A directory tree of an ISO 9660 volume.
#pragma once

#include "forms/isoNames.h"
#include "forms/isoRecords.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A file or directory that must be in both trees.
struct IsoNode {
    std::string path; ///< empty for the top directory
    std::string name;
    const Part* part; ///< none for the top directory and for the boot catalog
    std::size_t parent;
    bool isDirectory;
    std::vector<std::size_t> children; ///< in order of their names
    std::optional<IsoExtent> primary;  ///< when it was found in that tree
    std::optional<IsoExtent> joliet;
    bool isUnknown = false; ///< in the primary tree, but should not be
};

/// @param added  files that the tool adds
/// @return the nodes of all that must be there; the first is the top directory
std::vector<IsoNode> isoNodesOf(const Tree& expected, const std::vector<std::string>& added);

/// A directory, as the path tables list it.
struct IsoListedDirectory {
    std::string identifier;
    std::uint32_t block;
    std::size_t parent; ///< its number, from 1
    std::size_t node;
};

/// Reads the trees of one volume.
class IsoTreeReader {
public:
    IsoTreeReader(IsoMedium& medium, std::vector<IsoNode>& nodes) : m_medium(medium), m_nodes(nodes) {}

    /// Reads a tree, level by level. The primary tree comes first, because the other one must lead to the
    /// same files.
    /// @return all directories, in the order of the path tables
    std::vector<IsoListedDirectory> read(const IsoRoot& root);

    /// Whether the reading ended early because of names that should not be there.
    bool hasTooMany() const { return m_unknown > MOST_UNEXPECTED; }

private:
    struct Reading {
        IsoCharset charset;
        IsoNames names;
    };
    struct Directory {
        std::size_t node;
        std::string place; ///< for messages
        IsoExtent extent;
        std::vector<Reading> readings; ///< more than one while the character set is unknown
        IsoContinuations continuations;
        std::u16string previous{}; ///< identifier
        std::u16string previousPlace{};
        std::size_t count = 0;
        std::map<std::size_t, std::u16string> identifiers{}; ///< of entries in the primary tree
        std::vector<IsoNode> unknown{};
    };

    std::optional<IsoExtent>& extentOf(std::size_t node);
    std::vector<Reading> readingsOf(const IsoNode& node) const;
    void readDirectory(std::size_t node);
    bool readBlocks(Directory& directory);
    bool readBlock(Directory& directory, std::uint64_t offset, std::size_t& left);
    void readRecord(Directory& directory, const IsoRecord& record);
    void readNamed(Directory& directory, const IsoRecord& record);
    std::optional<std::size_t> findPrimary(Directory& directory, const IsoRecord& record);
    std::optional<std::size_t> findJoliet(Directory& directory, const IsoRecord& record);
    void checkOrder(Directory& directory, std::size_t entry, const std::u16string& identifier) const;
    template <typename Fits>
    bool choose(Directory& directory, const Fits& fits);
    void addUnknown(Directory& directory, const IsoRecord& record, const std::string& path,
                    const std::string& name);
    void checkIdentifiers(const Directory& directory) const;
    void noteMissing(const Directory& directory);
    void noteChildren(Directory& directory);

    IsoMedium& m_medium;
    std::vector<IsoNode>& m_nodes;
    IsoTreeKind m_kind = IsoTreeKind::primary;
    std::vector<IsoListedDirectory> m_listed;
    std::size_t m_number = 0; ///< of the current directory
    std::optional<IsoCharset> m_charset;
    std::size_t m_unknown = 0; ///< names that should not be there, in both trees
};

} // namespace velacreate
