#include "commands.h"
#include "exitStatus.h"
#include "pathRules.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>

using namespace velacreate;

namespace {

void addLogOptions(CLI::App& command, bool& verbose, std::string& log) {
    command.add_flag("--verbose", verbose, "Show progress messages, too");
    command.add_option("--log", log, "Append every message to this file")->type_name("FILE");
}

void addJobOptions(CLI::App& command, JobChoices& job) {
    command.add_option("--package", job.package, "The tool package")->required()->type_name("ZIP");
    command.add_option("--directory", job.directory, "Work here; the update files lie here")
        ->type_name("DIR");
    command.add_option("files", job.files, "Update files, named by their paths below DIR")
        ->required()
        ->type_name("FILE");
    command.add_flag("--keep", job.keep, "Leave the working files");
    command.add_flag("--force", job.force, "Overwrite and remove what is in the way");
    command.add_flag("--verify,!--no-verify", job.verify, "Read the medium back and compare (the rule)");
    addLogOptions(command, job.verbose, job.log);
}

int runCommand(int argc, char** argv) {
    CLI::App app("Makes bootable service media.", "velacreate");
    app.require_subcommand(1);
    std::function<int()> run;

    IsoChoices iso;
    auto* isoCommand = app.add_subcommand("iso", "Make a bootable ISO image");
    addJobOptions(*isoCommand, iso.job);
    isoCommand->add_option("--output", iso.output, "The image")->required()->type_name("IMAGE");
    isoCommand->add_option("--platform", iso.platform, "linux (the rule) or ppc")
        ->check(CLI::IsMember({"linux", "ppc"}));
    isoCommand->add_option("--burn", iso.burner, "Then burn it with this drive")->type_name("DEVICE");
    isoCommand->callback([&] { run = [&] { return makeIso(iso); }; });

    UsbChoices usb;
    auto* usbCommand = app.add_subcommand("usb", "Fill a bootable USB key");
    addJobOptions(*usbCommand, usb.job);
    auto* target = usbCommand->add_option_group("target");
    target->add_option("--device", usb.device, "The key, a whole disk")->type_name("DEVICE");
    target->add_option("--image", usb.image, "An image of a key in a key's place")->type_name("FILE");
    target->require_option(1);
    usbCommand
        ->add_option("--format", usb.format, "always, never or auto: when the key does not fit (the rule)")
        ->check(CLI::IsMember({"always", "never", "auto"}));
    usbCommand->add_flag("--any-disk", usb.anyDisk, "Accept a disk that is neither removable nor on USB");
    usbCommand->add_flag("--yes", usb.yes, "Do not ask");
    usbCommand->callback([&] { run = [&] { return makeUsbKey(usb); }; });

    PxeChoices pxe;
    auto* pxeCommand = app.add_subcommand("pxe", "Make a network-boot package");
    addJobOptions(*pxeCommand, pxe.job);
    pxeCommand->add_option("--output", pxe.output, "The package's directory")->required()->type_name("DIR");
    pxeCommand->callback([&] { run = [&] { return makePxePackage(pxe); }; });

    BurnChoices burning;
    auto* burnCommand = app.add_subcommand("burn", "Burn an image to a CD or DVD");
    burnCommand->add_option("image", burning.image, "The image")->required();
    burnCommand->add_option("device", burning.device, "The drive")->required();
    burnCommand->add_flag("--quiet", burning.quiet, "Announce no stages, and do not pause");
    addLogOptions(*burnCommand, burning.verbose, burning.log);
    burnCommand->callback([&] { run = [&] { return burn(burning); }; });

    std::string device;
    auto* identifyCommand = app.add_subcommand("identify", "Show vendor, model and size of a key");
    identifyCommand->add_option("device", device, "The key, a whole disk")->required();
    identifyCommand->callback([&] { run = [&] { return identify(device); }; });

    app.add_subcommand("list", "Show the removable and the USB disks")->callback([&] { run = listDisks; });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : EXIT_REFUSED;
    }
    return run();
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runCommand(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "velacreate: " << error.what() << std::endl;
        return EXIT_REFUSED;
    }
}
