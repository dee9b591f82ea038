#include "commands/commands.h"

#include "disks/discDrive.h"
#include "display/summary.h"
#include "forms/isoReader.h"
#include "keys/verifyKeys.h"
#include "medium/comparison.h"
#include "medium/identity.h"
#include "medium/imageKinds.h"
#include "medium/isoImage.h"
#include "support/failure.h"
#include "support/texts.h"

namespace velacreate {
namespace {
OpenMedium openDiscIn(const DiscDrive& drive) {
    auto disc = takeDisc(drive);
    return {discText(drive.name()), absolutePath(drive.path()), std::move(disc)};
}

/// Compares a disc with the image that it was burned from.
int verifyBurntDisc(const VerifyChoices& choices, Console& console) {
    if (choices.job.files.size() != 1) {
        throw WrongCommandLine("a disc is compared with one image, or with a --package and update files");
    }
    const auto& path = choices.job.files.front();
    const auto image = openToCompare("the image", path, S_IFREG);
    requireWholeIsoImage(image.file, path);
    DiscDrive::requireOther(choices.disc, image.file.status());
    const DiscDrive drive(choices.disc);
    requireOthers(choices.job.show, image.path);
    openLog(console, choices.job.show, absolutePath(drive.path()));
    const HeldSignals signals;
    const auto medium = discText(drive.name());
    console.events().begin({identityOf(medium, drive.path())});
    console.say("Comparing " + medium + " with " + image.name);
    return conclude(console, compareWithImage(drive, image.file, signals, console), medium,
                    sizeText(static_cast<std::uint64_t>(image.file.status().st_size)));
}

/// Another image than one for UEFI or PowerPC is compared as one for UEFI.
MediumKind kindOfImage(const VerifyChoices& choices, const ReadMedium& medium) {
    if (!choices.platform.empty()) {
        return imageFor(choices.platform);
    }
    MediumBytes bytes(medium.file, medium.size);
    return platformOfImage(bytes) == IsoPlatform::powerPc ? MediumKind::powerPcImage : MediumKind::image;
}

int verifyAlone(const VerifyChoices& choices, MediumKind kind, const NamedDirectory& scratch,
                const OpenMedium& medium, const ReadMedium& read, Console& console) {
    const Inputs inputs(choices.job, kind);
    return compareAlone(choices.job, inputs, scratch, medium, read, console);
}
} // namespace

int verify(const VerifyChoices& choices, const CallerEnvironment& caller, Console& console) {
    if (choices.job.package.empty() && !choices.disc.empty()) {
        return verifyBurntDisc(choices, console);
    }
    const auto scratch = scratchDirectory(choices.work, caller);
    if (choices.job.package.empty()) {
        return compareKeysWithImage(choices, scratch, console);
    }
    if (!choices.devices.empty()) {
        return verifyKeys(choices, scratch, console);
    }
    if (!choices.keyImage.empty()) {
        return verifyKeyImage(choices, scratch, console);
    }
    if (!choices.netbootDirectory.empty()) {
        const auto directory = openToCompare("the network-boot directory", choices.netbootDirectory, S_IFDIR);
        return verifyAlone(choices, MediumKind::netbootDirectory, scratch, directory, {directory.file},
                           console);
    }
    const auto medium = choices.image.empty() ? openDiscIn(DiscDrive(choices.disc))
                                              : openToCompare("the image", choices.image, S_IFREG);
    refuseIf(!choices.image.empty() && isKeyImage(medium.file),
             quote(choices.image) + " is the image of a key; compare it with --key-image");
    ReadMedium read = {medium.file, sizeOf(medium.file)};
    read.isDisc = choices.image.empty();
    return verifyAlone(choices, kindOfImage(choices, read), scratch, medium, read, console);
}

} // namespace velacreate
