/// @file
/// The records of a directory of ISO 9660, with their Rock Ridge entries.
#pragma once

#include "forms/isoDescriptors.h"
#include "forms/isoFields.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// Which entry of a directory a record is for.
enum class IsoEntry { self, parent, named };

/// The entries behind records that are too long, one after the other.
class IsoContinuations {
public:
    explicit IsoContinuations(std::uint32_t block) : m_first(block), m_end(offsetOf(block)) {}

    /// Adds a difference, unless the bytes begin where the last ones end or, if they are too long for that
    /// block, at the next one.
    void add(IsoMedium& medium, const std::string& place, const ByteRange& range);

    /// Claims the blocks.
    void end(IsoMedium& medium, const std::string& place) const;

private:
    std::uint32_t m_first;
    std::uint64_t m_end;
};

/// Rock Ridge entries that are not in the record. From version 1.5.6 on, xorriso ends a block with nothing
/// but an entry that leads to the next block.
struct IsoContinuation {
    std::string bytes; ///< empty when they are out of the form
    std::uint64_t offset;
};

/// A record as it stands on the medium.
class IsoRecord {
public:
    /// @param bytes  from the record's beginning to the end of its block
    IsoRecord(const IsoMedium& medium, IsoTreeKind kind, const IsoBytes& bytes);

    /// Whether the record's parts lie within it. Else it must not be asked for anything.
    bool isWhole() const { return m_isWhole; }
    std::size_t length() const { return m_bytes.data.size(); }
    /// @return the identifier, without its version
    const std::u16string& identifier() const { return m_identifier; }
    const std::string& rawIdentifier() const { return m_rawIdentifier; }
    const std::string& name() const { return m_name; } ///< of Rock Ridge
    IsoExtent extent() const { return m_extent; }
    bool isDirectory() const { return m_isDirectory; }

    /// Holds the record against its form. Adds a difference.
    /// @param isTop  whether it is for the top directory itself
    void examine(IsoMedium& medium, const std::string& place, IsoEntry entry, const IsoExtent& extent,
                 bool isTop, IsoContinuations& continuations) const;

private:
    void findName(const IsoMedium& medium);
    void decodeIdentifier(bool hasVersions);
    /// @return as the tool writes it
    std::string rawIdentifierOf(IsoEntry entry, bool hasVersions) const;

    IsoTreeKind m_kind;
    IsoBytes m_bytes;
    bool m_isWhole = false;
    std::string m_rawIdentifier;
    std::u16string m_identifier;
    std::string m_name;
    IsoExtent m_extent{};
    bool m_isDirectory = false;
    std::size_t m_systemUse = 0;              ///< where the Rock Ridge entries begin
    std::vector<IsoContinuation> m_continued; ///< more of them
};

/// @return an identifier with "?" in the place of other characters than those of ASCII
std::string asciiOf(const std::u16string& identifier);

/// @return the Rock Ridge name of a file or directory; its identifier when it has none
std::string nameOf(const IsoRecord& record);

} // namespace velacreate
