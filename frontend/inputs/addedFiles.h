/// @file
/// The files to which a command appends: the log, the report and the events.
#pragma once

#include "choices.h"

#include <string>
#include <vector>

namespace velacreate {

constexpr const char* LOG_FILE = "the log file";
constexpr const char* REPORT = "the report";
constexpr const char* EVENTS_FILE = "the events file";

struct AddedFile {
    const char* kind; ///< one of these
    std::string path;

    /// @return such as "the log file 'a.log'"
    std::string name() const;
};

/// @return those that were chosen
std::vector<AddedFile> addedFiles(const ShowChoices& choices);

/// @throw Refusal when two of them are the same file
void requireDifferent(const std::vector<AddedFile>& files);

} // namespace velacreate
