#include "medium/jobInputs.h"

#include "inputs/limits.h"
#include "support/failure.h"

#include <filesystem>

#include <fcntl.h>

namespace velacreate {

Inputs::Inputs(const JobChoices& choices, MediumKind medium)
    : kind(kindOf(medium)), package(choices.package, kind.cloneImages),
      updates(choices.directory, choices.files), contents(contentsOf(medium, package, updates)) {
    refuseIf(updates.fileCount() == 0, "there is no update file in what was named");
}

void Inputs::requireMakeable() const {
    for (const auto& [name, purpose] : kind.bootFiles) {
        package.requireFile(name, purpose);
    }
    requireFileSizes(contents, kind);
}

void Inputs::requireOther(const struct stat& file, const std::string& what) const {
    refuseIf(package.isFile(file), what + " is the tool package");
    refuseIf(updates.contain(file), what + " is one of the update files");
}

void Inputs::requireOther(const Output& output) const {
    const std::string what = "the output " + quote(output.path());
    refuseIf(updates.hold(output.parent().directory.status()), what + " would lie among the update files");
    if (!output.present()) {
        return;
    }
    requireOther(*output.present(), what);
    if (S_ISDIR(output.present()->st_mode)) {
        const auto replaced = output.openPresent();
        forEachEntry(replaced.number(), [&](const std::string& name) {
            struct stat about {};
            if (fstatat(replaced.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0) {
                requireOther(about, quote(name) + " in " + what);
            }
        });
    }
}

void Inputs::announce(Console& console, const std::string& beginning) const {
    const auto count = updates.fileCount();
    console.say(beginning + " " + quote(package.path()) + " and " + std::to_string(count) +
                (count == 1 ? " update file" : " update files"));
    for (const auto& name : contents.replaced) {
        console.say("Note: the update file " + quote(name) +
                    " takes the place of a boot file of the package");
    }
    for (const auto& name : contents.missing) {
        console.say("Note: the package lacks the boot file " + quote(name));
    }
}

void Inputs::requireRoom(const NamedDirectory& directory, std::size_t copiesOfPackage,
                         std::size_t copiesOfMedium) const {
    constexpr std::uint64_t BLOCK = 4096;        // a file may take up to one more
    constexpr std::uint64_t PADDING = 1U << 20U; // added by tools
    const std::uint64_t files = copiesOfPackage * package.entries().size() + updates.entries().size() +
                                copiesOfMedium * contents.tree.size();
    requireSpace(directory, copiesOfPackage * package.unpackedSize() + updates.totalSize() +
                                copiesOfMedium * contents.size() + files * BLOCK + PADDING);
}

void requireFileSizes(const Contents& contents, const Kind& kind) {
    if (kind.fileSizeLimit.empty()) {
        return;
    }
    for (const auto& [place, part] : contents.tree) {
        requireFileSize(place, part.size, kind.fileSizeLimit);
    }
}

void requireOtherLog(const ShowChoices& choices, const std::string& medium) {
    if (choices.log.empty() || medium.empty()) {
        return;
    }
    const std::filesystem::path log = futurePath(choices.log);
    refuseIf(log == medium || log.parent_path() == medium,
             "the log file " + quote(choices.log) + " is the medium, or in it; choose another");
}

void openLog(Console& console, const ShowChoices& choices, const std::string& medium, const Inputs* inputs) {
    struct stat about {};
    if (inputs != nullptr && !choices.log.empty() && stat(choices.log.c_str(), &about) == 0) {
        inputs->requireOther(about, "the log file " + quote(choices.log));
    }
    requireOtherLog(choices, medium);
    console.openLog(choices.verbose, choices.log);
}

} // namespace velacreate
