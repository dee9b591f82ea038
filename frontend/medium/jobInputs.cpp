#include "medium/jobInputs.h"

#include "inputs/addedFiles.h"
#include "inputs/limits.h"
#include "inputs/names.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <filesystem>

#include <fcntl.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
/// @return where the installer lies when it is not at the top; else empty
std::string misplacedInstaller(const UpdateFiles& updates, const Contents& contents) {
    if (contents.tree.count(VelaCreation::INSTALLER) != 0) {
        return "";
    }
    const auto isInstaller = [](const auto& item) {
        return !item.second.isDirectory && partsOf(item.first).back() == VelaCreation::INSTALLER;
    };
    const auto& entries = updates.entries();
    const auto found = std::find_if(entries.begin(), entries.end(), isInstaller);
    return found == entries.end() ? "" : found->first;
}
} // namespace

Inputs::Inputs(const JobChoices& choices, MediumKind medium)
    : kind(kindOf(medium)), package(choices.package, kind.cloneImages),
      updates(choices.directory, choices.files, package), contents(contentsOf(medium, package, updates)) {
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
    refuseIf(updates.contain(file), what + " is one of the update files" + updates.advice());
}

void Inputs::requireOther(const std::string& path, const std::string& what) const {
    struct stat about {};
    if (stat(path.c_str(), &about) == 0) {
        requireOther(about, what);
    }
    if (stat(fs::path(futurePath(path)).parent_path().c_str(), &about) == 0) {
        requireNotChosen(about, what);
    }
}

void Inputs::requireNotChosen(const struct stat& directory, const std::string& what) const {
    refuseIf(updates.hold(directory), what + " would lie among the update files" + updates.advice());
}

void Inputs::requireOther(const Output& output) const {
    const std::string what = "the output " + quote(output.path());
    requireNotChosen(output.parent().directory.status(), what);
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
    console.say(beginning + " " + quote(package.path()) + " and " +
                counted(updates.fileCount(), "update file"));
    for (const auto& name : contents.replaced) {
        console.note("the update file " + quote(name) + " takes the place of a boot file of the package");
    }
    for (const auto& name : contents.missing) {
        console.note("the package lacks the boot file " + quote(name));
    }
    if (const auto place = misplacedInstaller(updates, contents); !place.empty()) {
        console.note("there is no " + quote(VelaCreation::INSTALLER) +
                     " at the top of the medium, where machines look for it, but " + quote(place) +
                     "; --directory says where its path begins");
    }
}

void Inputs::requireRoom(const NamedDirectory& directory, std::size_t copiesOfPackage,
                         std::size_t copiesOfMedium) const {
    requireNotChosen(directory.directory.status(), "the job directory in " + quote(directory.path));
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

void requireOthers(const ShowChoices& choices, const std::string& medium) {
    for (const auto& file : addedFiles(choices)) {
        const fs::path path = futurePath(file.path);
        refuseIf(!medium.empty() && (path == medium || path.parent_path() == medium),
                 file.name() + " is the medium, or in it; choose another");
    }
}

void openLog(Console& console, const ShowChoices& choices, const std::string& medium, const Inputs* inputs) {
    const auto files = addedFiles(choices);
    for (const auto& file : files) {
        if (inputs != nullptr) {
            inputs->requireOther(file.path, file.name());
        }
    }
    requireOthers(choices, medium);
    requireDifferent(files);
    console.openLog(choices.verbose, choices.log);
    console.events().release();
}

} // namespace velacreate
