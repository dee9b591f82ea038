/// @file
/// The examination of one medium by the strict reader of its form.
///
/// A reader accepts the one form that the library's tools write. It explains each byte: as content that is
/// compared, as a structure whose fields have their one value, as a variation, or as free space. All else is
/// a difference.
#pragma once

#include "forms/mediumBytes.h"
#include "forms/variation.h"
#include "medium/contents.h"
#include "medium/differences.h"
#include "medium/sources.h"

#include <string>
#include <vector>

namespace velacreate {

/// Needs memory for the expected contents, not for what the medium claims to hold. Sizes and numbers from the
/// medium are checked against its size before they are used.
struct Examination {
    MediumBytes& medium;
    Sources& sources; ///< of the expected bytes
    Differences& differences;
    const Advance& advance;           ///< called for compared bytes
    const ReportVariation& variation; ///< may be empty
    bool isFormOnly = false;          ///< the content of files is not compared
};

/// Compares a file's bytes on the medium with its source. Adds a difference.
/// @param place  on the medium, for the message
void compareContent(const Examination& examination, const std::string& place, const Part& part,
                    std::uint64_t offset);

/// The same for a file in several pieces.
/// @param ranges  together as long as the file
void compareContent(const Examination& examination, const std::string& place, const Part& part,
                    const std::vector<ByteRange>& ranges);

/// Tells of bytes that are not compared, if somebody wants to know.
void reportVariation(const Examination& examination, Variation variation, const ByteRange& range);

/// So many names that should not be there are read. A medium can claim to hold any number of them.
constexpr std::size_t MOST_UNEXPECTED = 10000;

/// Adds the difference that ends the reading after so many names.
void reportTooMany(Differences& differences);

/// Adds a difference, such as "bytes 0x9000–0x97ff belong to nothing".
void reportUnclaimed(const ByteRange& range, Differences& differences);

/// The same for each range that is not claimed.
void reportUnclaimed(const ByteMap& map, Differences& differences);

} // namespace velacreate
