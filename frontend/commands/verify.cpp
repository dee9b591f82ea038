#include "commands/commands.h"

#include "commands/comparison.h"
#include "commands/scratch.h"
#include "commands/verifyKeys.h"
#include "disks/discDrive.h"
#include "medium/isoImage.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <unistd.h>

namespace velacreate {

namespace {

void requireMounting() {
    if (geteuid() != 0) {
        throw Refusal("a key is mounted to be read, which takes root's rights; run this with sudo");
    }
    requirePrograms({"mount"});
}

OpenMedium openIsoImage(const std::string& path) {
    auto image = openToCompare("the image", path, S_IFREG);
    if (isoImageSize(image.file) == 0) {
        throw Refusal(quote(path) + " is no ISO 9660 image");
    }
    return image;
}

OpenMedium openDiscIn(const DiscDrive& drive) {
    if (const auto lack = drive.takeDiscIn(); !lack.empty()) {
        throw Refusal(lack);
    }
    return {"the disc in " + drive.name(), absolutePath(drive.path()), drive.openDisc()};
}

/// The disc with the image that it was burned from.
int verifyBurntDisc(const VerifyChoices& choices) {
    if (choices.job.files.size() != 1) {
        throw Refusal("a disc is compared with one image, or with a --package and update files");
    }
    const auto& path = choices.job.files.front();
    const auto image = openToCompare("the image", path, S_IFREG);
    requireWholeIsoImage(image.file, path);
    if (DiscDrive::isFile(choices.disc, image.file.status())) {
        throw Refusal("the drive " + quote(choices.disc) + " is the image itself");
    }
    const DiscDrive drive(choices.disc);
    requireOtherLog(choices.job.show, image.path);
    auto console = openConsole(choices.job.show, absolutePath(drive.path()));
    const HeldSignals signals;
    const auto medium = "the disc in " + drive.name();
    console.say("Comparing " + medium + " with " + image.name);
    return conclude(console, compareWithImage(drive, image.file, signals, console), medium,
                    sizeText(static_cast<std::uint64_t>(image.file.status().st_size)));
}

/// An image, or a disc that was burned from one.
int verifyImage(const VerifyChoices& choices, const ScratchDirectory& scratch, const OpenMedium& medium) {
    const Inputs inputs(choices.job, choices.platform == "ppc" ? Medium::powerPcImage : Medium::image);
    return compareAlone(choices.job, inputs, scratch, medium,
                        [&](const Descriptor& staged, Reporter& reporter) {
                            return compareImage(staged.number(), inputs.contents, medium.file,
                                                beginReadingBack(inputs.contents.size(), reporter));
                        });
}

int verifyPackage(const VerifyChoices& choices, const ScratchDirectory& scratch) {
    const auto medium = openToCompare("the network-boot directory", choices.package, S_IFDIR);
    const Inputs inputs(choices.job, Medium::netbootDirectory);
    return compareAlone(
        choices.job, inputs, scratch, medium, [&](const Descriptor& staged, Reporter& reporter) {
            return compareNetbootDirectory(staged.number(), inputs.contents, medium.file,
                                           beginReadingBack(inputs.contents.size(), reporter));
        });
}

} // namespace

int verify(const VerifyChoices& choices, const CallerEnvironment& caller) {
    const bool isOfKey = !choices.devices.empty() || !choices.keyImage.empty();
    if (choices.job.package.empty()) {
        return verifyBurntDisc(choices);
    }
    if (isOfKey) {
        requireMounting();
    }
    requirePrograms({"unzip"});
    const ScratchDirectory scratch(choices.work, caller);
    if (isOfKey) {
        return choices.keyImage.empty() ? verifyKeys(choices, scratch) : verifyKeyImage(choices, scratch);
    }
    if (!choices.package.empty()) {
        return verifyPackage(choices, scratch);
    }
    if (!choices.image.empty()) {
        return verifyImage(choices, scratch, openIsoImage(choices.image));
    }
    return verifyImage(choices, scratch, openDiscIn(DiscDrive(choices.disc)));
}

} // namespace velacreate
