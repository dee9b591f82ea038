/// @file
/// The kinds of medium, in one table.
#pragma once

#include "inputs/toolPackage.h"
#include "support/descriptor.h"

#include <mediaRules.h>

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

struct Comparison;
struct Findings;

constexpr const char* STAGE_WRITING_OUT = "Writing out";
constexpr const char* STAGE_READING_BACK = "Reading back";

enum class MediumKind { image, powerPcImage, key, keyImage, netbootDirectory };

/// A boot file that machines start from.
struct BootFile {
    std::string name;
    std::string purpose; ///< for a message, such as "the image starts from it"
};

/// A stage whose bytes are counted from outside the job.
struct MeasuredStage {
    std::string text;
    /// Below the job directory. Empty for a key, and for a stage of which the bytes that it reads are
    /// counted.
    std::string growing;
};

/// See readBack.h.
using CompareMedium = std::function<void(Findings& findings)> (*)(const Comparison& comparison,
                                                                  Findings& findings);

/// What is common to all media of one kind.
struct Kind {
    std::string name;                                ///< for messages, such as "the image"
    std::string word;                                ///< for programs, such as "image"
    std::vector<BootFile> bootFiles;                 ///< required in the tool package
    CloneImages cloneImages = CloneImages::unwanted; ///< whether the job needs them
    std::vector<const char*> programs = {"unzip"};   ///< the job runs them
    std::vector<const char*> toolkitPrograms;        ///< velacreate's own launchers run them
    std::string place;                               ///< of the growing output, below the job directory
    std::vector<MeasuredStage> stages;

    std::vector<VelaCreation::Removal> removals; ///< from the top of the medium
    bool updatesComeLast = false;                ///< update files are copied after the removals
    std::vector<const char*> besideArchive; ///< boot files; all other files are in an archive, which has no
                                            ///< names at its top that begin with a dot
    bool isFat = false;                     ///< names are limited, and found in any case
    bool isPlainJoliet = false;             ///< names are not numbered where they would be the same
    std::string fileSizeLimit;              ///< what limits files to less than 4 GiB; else empty

    CompareMedium compare = nullptr;
};

const Kind& kindOf(MediumKind kind);

/// @param platform  one of choices.h
MediumKind imageFor(const std::string& platform);

} // namespace velacreate
