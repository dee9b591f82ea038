#include "commands/commands.h"

#include "disks/discDrive.h"
#include "display/summary.h"
#include "keys/verifyKeys.h"
#include "medium/comparison.h"
#include "medium/isoImage.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

namespace velacreate {
namespace {
OpenMedium openIsoImage(const std::string& path) {
    auto image = openToCompare("the image", path, S_IFREG);
    requireIsoImage(image.file, path);
    return image;
}

OpenMedium openDiscIn(const DiscDrive& drive) {
    auto disc = takeDisc(drive);
    return {"the disc in " + drive.name(), absolutePath(drive.path()), std::move(disc)};
}

/// Compares a disc with the image that it was burned from.
int verifyBurntDisc(const VerifyChoices& choices, Console& console) {
    refuseIf(choices.job.files.size() != 1,
             "a disc is compared with one image, or with a --package and update files");
    const auto& path = choices.job.files.front();
    const auto image = openToCompare("the image", path, S_IFREG);
    requireWholeIsoImage(image.file, path);
    DiscDrive::requireOther(choices.disc, image.file.status());
    const DiscDrive drive(choices.disc);
    requireOtherLog(choices.job.show, image.path);
    openLog(console, choices.job.show, absolutePath(drive.path()));
    const HeldSignals signals;
    const auto medium = "the disc in " + drive.name();
    console.say("Comparing " + medium + " with " + image.name);
    return conclude(console, compareWithImage(drive, image.file, signals, console), medium,
                    sizeText(static_cast<std::uint64_t>(image.file.status().st_size)));
}

int verifyAlone(const VerifyChoices& choices, MediumKind kind, const NamedDirectory& scratch,
                const OpenMedium& medium, Console& console) {
    const Inputs inputs(choices.job, kind);
    const auto compare = [&](const Descriptor& staged, Reporter& reporter) {
        return inputs.kind.compare(staged.number(), inputs.contents, medium.file,
                                   beginReadingBack(inputs.contents.size(), reporter));
    };
    return compareAlone(choices.job, inputs, scratch, medium, compare, console);
}
} // namespace

int verify(const VerifyChoices& choices, const CallerEnvironment& caller, Console& console) {
    if (choices.job.package.empty()) {
        return verifyBurntDisc(choices, console);
    }
    const bool isOfKey = !choices.devices.empty() || !choices.keyImage.empty();
    if (isOfKey) {
        requireRoot("a key is mounted to be read, which");
        requirePrograms({"mount"});
    }
    const auto scratch = scratchDirectory(choices.work, caller);
    if (isOfKey) {
        return choices.keyImage.empty() ? verifyKeys(choices, scratch, console)
                                        : verifyKeyImage(choices, scratch, console);
    }
    if (!choices.netbootDirectory.empty()) {
        const auto directory = openToCompare("the network-boot directory", choices.netbootDirectory, S_IFDIR);
        return verifyAlone(choices, MediumKind::netbootDirectory, scratch, directory, console);
    }
    const auto medium =
        choices.image.empty() ? openDiscIn(DiscDrive(choices.disc)) : openIsoImage(choices.image);
    return verifyAlone(choices, imageFor(choices.platform), scratch, medium, console);
}

} // namespace velacreate
