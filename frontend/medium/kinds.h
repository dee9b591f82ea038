/// @file
/// The kinds of medium. All in which they differ stands in one table.
#pragma once

#include "inputs/toolPackage.h"
#include "support/descriptor.h"

#include <mediaRules.h>

#include <string>
#include <vector>

namespace velacreate {

struct Contents;

constexpr const char* STAGE_WRITING_OUT = "Writing out";

enum class MediumKind { image, powerPcImage, key, netbootDirectory };

/// A boot file of the tool package from which a machine starts.
struct BootFile {
    std::string name;
    std::string purpose; ///< for a message, such as "the image starts from it"
};

/// A stage of a job whose bytes are counted from outside the job.
struct MeasuredStage {
    std::string text;
    std::string growing; ///< what is filled in it, below the job directory; empty for the medium itself
};

/// Compares a medium with what should be on it, byte for byte.
/// @param jobDirectory  where the files are that it should hold
/// @param medium        an image, a directory, or the top directory of a mounted key
/// @return a line for each difference, as in readBack.h
using CompareMedium = std::vector<std::string> (*)(int jobDirectory, const Contents& contents,
                                                   const Descriptor& medium, const Advance& advance);

/// What holds for all media of one kind.
struct Kind {
    std::string name;                                ///< for messages, such as "the image"
    std::vector<BootFile> bootFiles;                 ///< that the tool package must have
    CloneImages cloneImages = CloneImages::unwanted; ///< whether the job uses those of the tool package
    std::vector<const char*> programs;               ///< that the job runs
    std::vector<const char*> toolkitPrograms;        ///< that velacreate's own launchers run
    std::string place;                               ///< where the output grows below the job directory
    std::vector<MeasuredStage> stages;

    std::vector<VelaCreation::Removal> removals; ///< at the top of the medium
    bool updatesComeLast = false;                ///< after these removals
    std::vector<const char*> besideArchive; ///< boot files; all other files are in an archive, which has no
                                            ///< names at its top that begin with a dot
    std::vector<std::string> added;         ///< by the tool that makes the medium
    bool isFat = false;                     ///< names are found whatever their case is, and are limited
    std::string fileSizeLimit;              ///< what holds files of less than 4 GiB only; else empty

    CompareMedium compare = nullptr;
};

const Kind& kindOf(MediumKind kind);

} // namespace velacreate
