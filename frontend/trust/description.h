/// @file
/// What the signature of a medium says about it.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// The trusted comment of a signature.
struct MediumDescription {
    std::string kind; ///< a word for programs, such as "image"; see kinds.h
    std::time_t made = 0;
    std::string package;                ///< its SHA-256 sum
    std::vector<std::string> bootCodes; ///< SHA-256 sums; only of a key. It has one of them.
    std::string title;                  ///< chosen by the maker; may be empty
};

/// @return such as "velacreate key 2026-11-26T16:20:00Z package:SUM boot:SUM,SUM title:Depot 7"
std::string commentOf(const MediumDescription& description);

/// @return nothing for a comment of another form, such as one that minisign makes itself
std::optional<MediumDescription> descriptionIn(const std::string& comment);

} // namespace velacreate
