#include "commands/commands.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>

using namespace velacreate;

namespace {

void addShowOptions(CLI::App& command, ShowChoices& show) {
    command.add_flag("--verbose", show.verbose, "Show the library's messages as they come");
    command.add_option("--log", show.log, "Append every message to this file")->type_name("FILE");
    command.add_flag("--pauses", show.pauses,
                     "Pause for ten seconds at each stage, for who polls the status file");
}

void addJobOptions(CLI::App& command, JobChoices& job) {
    command.add_option("--package", job.package, "The tool package")->required()->type_name("ZIP");
    command.add_option("--directory", job.directory, "The update files lie here")
        ->capture_default_str()
        ->type_name("DIR");
    command.add_option("files", job.files, "Update files and directories of them, by their paths below DIR")
        ->required()
        ->type_name("FILE");
    command.add_flag("--keep", job.keep, "Leave the job's workplace, and name it");
    command.add_flag("--verify,!--no-verify", job.verify, "Read the medium back and compare it (default)");
    addShowOptions(command, job.show);
}

int runCommand(int argc, char** argv, const Surroundings& surroundings) {
    CLI::App app("Makes bootable service media.", "velacreate");
    app.require_subcommand(1);
    app.footer("Exit status:\n" + exitStatusTable());
    std::function<int()> run;

    IsoChoices iso;
    auto* isoCommand = app.add_subcommand("iso", "Make a bootable ISO image");
    addJobOptions(*isoCommand, iso.job);
    isoCommand->add_option("--output", iso.output, "The image, a name that ends in .iso")
        ->required()
        ->type_name("IMAGE");
    isoCommand->add_flag("--force", iso.force, "Replace an image that is there");
    isoCommand->add_option("--platform", iso.platform, "linux (UEFI) or ppc (PowerPC)")
        ->capture_default_str()
        ->check(CLI::IsMember({"linux", "ppc"}));
    isoCommand->add_option("--burn", iso.burner, "Then burn it with this drive")->type_name("DEVICE");
    isoCommand->callback([&] { run = [&] { return makeIso(iso, surroundings); }; });

    UsbChoices usb;
    auto* usbCommand = app.add_subcommand("usb", "Fill a bootable USB key");
    addJobOptions(*usbCommand, usb.job);
    auto* target = usbCommand->add_option_group("target");
    target->add_option("--device", usb.device, "The key, a whole disk")->type_name("DEVICE");
    target->add_option("--image", usb.image, "An image of a key in a key's place")->type_name("FILE");
    target->require_option(1);
    usbCommand
        ->add_option("--format", usb.format,
                     "always, never, or auto: when the key does not fit, or holds other files")
        ->capture_default_str()
        ->check(CLI::IsMember({"always", "never", "auto"}));
    usbCommand->add_flag("--any-disk", usb.anyDisk, "Accept a disk that is neither removable nor on USB");
    usbCommand->add_flag("--yes", usb.yes, "Do not ask");
    usbCommand->add_option("--work", usb.work, "Make the workplace here (default: TMPDIR, or /var/tmp)")
        ->type_name("DIR");
    usbCommand->callback([&] { run = [&] { return makeUsbKey(usb, surroundings); }; });

    PxeChoices pxe;
    auto* pxeCommand = app.add_subcommand("pxe", "Make a network-boot package");
    addJobOptions(*pxeCommand, pxe.job);
    pxeCommand->add_option("--output", pxe.output, "The package's directory")->required()->type_name("DIR");
    pxeCommand->add_flag("--force", pxe.force, "Replace a package that is there");
    pxeCommand->callback([&] { run = [&] { return makePxePackage(pxe); }; });

    BurnChoices burning;
    auto* burnCommand = app.add_subcommand("burn", "Burn an image to a CD or DVD");
    burnCommand->add_option("image", burning.image, "The image")->required();
    burnCommand->add_option("device", burning.device, "The drive")->required();
    burnCommand->add_flag("--quiet", burning.quiet, "Announce no stages");
    addShowOptions(*burnCommand, burning.show);
    burnCommand->callback([&] { run = [&] { return burn(burning, surroundings); }; });

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
        const auto surroundings = startClean();
        return runCommand(argc, argv, surroundings);
    } catch (const Refusal& refusal) {
        std::cerr << "velacreate: " << refusal.what() << std::endl;
        return EXIT_REFUSED;
    } catch (const std::exception& failure) {
        std::cerr << "velacreate: " << failure.what() << std::endl;
        return EXIT_UNFINISHED;
    }
}
