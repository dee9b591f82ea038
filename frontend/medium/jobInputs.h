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

/// The checked tool package and update files of a call.
struct Inputs {
    /// @throw Refusal
    Inputs(const JobChoices& choices, MediumKind medium);

    const Kind& kind;
    ToolPackage package;
    UpdateFiles updates;
    Contents contents;

    /// Refuses a tool package without the boot files of this kind of medium, and files that are too large for
    /// it.
    void requireMakeable() const;

    /// Refuses a file to be written that is one of these.
    /// @param what  for the message, such as "the output '/x/i.iso'"
    void requireOther(const struct stat& file, const std::string& what) const;

    /// The same for a path, where a file may be made. Its directory must not be a chosen one either.
    void requireOther(const std::string& path, const std::string& what) const;

    /// Refuses an output that is one of these, replaces one of these, or lies in a chosen directory.
    void requireOther(const Output& output) const;

    /// Shows what is begun, with notes.
    /// @param beginning such as "Making the image '/x/i.iso' from"
    void announce(Console& console, const std::string& beginning) const;

    /// Refuses a directory for the job directory that was chosen, or has too little free space.
    /// @param copiesOfPackage packed or unpacked
    /// @param copiesOfMedium of what is written to the medium
    void requireRoom(const NamedDirectory& directory, std::size_t copiesOfPackage,
                     std::size_t copiesOfMedium) const;

private:
    void requireNotChosen(const struct stat& directory, const std::string& what) const;
};

/// Refuses files that are too large for this kind of medium.
void requireFileSizes(const Contents& contents, const Kind& kind);

/// Refuses a log file, a report or an events file that is the medium, or in it.
/// @param medium its path; may be empty
void requireOthers(const ShowChoices& choices, const std::string& medium);

/// Opens the log file, if one is wanted, and lets events be written. This is the last check of a call, since
/// it makes the file.
/// @param medium the path of the medium; may be empty
/// @param inputs may be null
/// @throw Refusal when the log file, the report or the events file is one of these
void openLog(Console& console, const ShowChoices& choices, const std::string& medium,
             const Inputs* inputs = nullptr);

} // namespace velacreate
