/// @file
/// What a medium is made from.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "inputs/toolPackage.h"
#include "inputs/updateFiles.h"
#include "job/output.h"
#include "medium/contents.h"
#include "medium/kinds.h"

#include <string>

namespace velacreate {

/// The tool package and the update files of a call. They have been checked, and nothing has been done yet.
struct Inputs {
    /// @throw Refusal
    Inputs(const JobChoices& choices, MediumKind medium);

    const Kind& kind;
    ToolPackage package;
    UpdateFiles updates;
    Contents contents;

    /// Refuses a tool package without a boot file that this kind of medium starts from, and files that are
    /// too large for it.
    void requireMakeable() const;

    /// Refuses a file or directory to write to that is one of these.
    /// @param what  for the message, such as "the output '/x/i.iso'"
    void requireOther(const struct stat& file, const std::string& what) const;

    /// Refuses an output that is one of these, replaces one of these, or lies in a chosen directory.
    void requireOther(const Output& output) const;

    /// Says what is begun, and what the user might not expect of it.
    /// @param beginning  such as "Making the image '/x/i.iso' from"
    void announce(Console& console, const std::string& beginning) const;

    /// Refuses a job for which there is too little free space in a directory.
    /// @param copiesOfPackage  packed or unpacked
    /// @param copiesOfMedium   what is written of the medium itself
    void requireRoom(const NamedDirectory& directory, std::size_t copiesOfPackage,
                     std::size_t copiesOfMedium) const;
};

/// Refuses a log file that is a medium, or in it.
/// @param medium  its path; may be empty
void requireOtherLog(const ShowChoices& choices, const std::string& medium);

/// Opens the log file, if one is wanted. This is the last check of a call, since it makes the file.
/// @param medium  the path of what is made, filled or burned, if it has one: the log must not be written
/// there
/// @param inputs  the log must not be one of these, if there are any
/// @throw Refusal
void openLog(Console& console, const ShowChoices& choices, const std::string& medium,
             const Inputs* inputs = nullptr);

} // namespace velacreate
