#include "commands/commands.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

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
    command.add_option("FILE", job.files, "Update files and directories of them, by their paths below DIR")
        ->required();
    command.add_flag("--keep", job.keep, "Leave the job's workplace, and name it");
    command.add_flag("--verify,!--no-verify", job.verify, "Read the medium back and compare it (default)");
    addShowOptions(command, job.show);
}

using Run = std::function<int()>;

void addIso(CLI::App& app, IsoChoices& iso, const Surroundings& surroundings, Run& run) {
    auto* command = app.add_subcommand("iso", "Make a bootable ISO image");
    addJobOptions(*command, iso.job);
    command->add_option("--output", iso.output, "The image, a name that ends in .iso")
        ->required()
        ->type_name("IMAGE");
    command->add_flag("--force", iso.force, "Replace an image that is there");
    command->add_option("--platform", iso.platform, "linux (UEFI) or ppc (PowerPC)")
        ->capture_default_str()
        ->check(CLI::IsMember({"linux", "ppc"}));
    command->add_option("--burn", iso.burner, "Then burn it with this drive")->type_name("DEVICE");
    command->callback([&] { run = [&] { return makeIso(iso, surroundings); }; });
}

void addUsb(CLI::App& app, UsbChoices& usb, const Surroundings& surroundings, Run& run) {
    auto* command = app.add_subcommand("usb", "Fill a bootable USB key");
    addJobOptions(*command, usb.job);
    auto* target = command->add_option_group("target");
    target->add_option("--device", usb.devices, "The key, a whole disk; may be given several times")
        ->allow_extra_args(false)
        ->type_name("DEVICE");
    target->add_flag("--all", usb.all, "Every removable medium; a USB hard disk has to be named");
    target->add_option("--image", usb.image, "An image of a key in a key's place")->type_name("FILE");
    target->require_option(1);
    command
        ->add_option("--format", usb.format,
                     "always, never, or auto: when the key does not fit, or holds other files")
        ->capture_default_str()
        ->check(CLI::IsMember({"always", "never", "auto"}));
    command->add_flag("--erase", usb.erase, "Make a key of any stick; everything on it is lost");
    command->add_option("--jobs", usb.jobs, "How many keys are made at a time (default: all)")
        ->check(CLI::PositiveNumber);
    command->add_option("--report", usb.report, "Append a line of JSON for each key to this file")
        ->type_name("FILE");
    command->add_flag("--eject", usb.eject, "Power each key down when it is made");
    command->add_flag("--any-disk", usb.anyDisk, "Accept a disk that is neither removable nor on USB");
    command->add_flag("--yes", usb.yes, "Do not ask");
    command->add_option("--work", usb.work, "Make the workplace here (default: TMPDIR, or /var/tmp)")
        ->type_name("DIR");
    command->callback([&] { run = [&] { return makeUsbKey(usb, surroundings); }; });
}

void addPxe(CLI::App& app, PxeChoices& pxe, Run& run) {
    auto* command = app.add_subcommand("pxe", "Make a network-boot package");
    addJobOptions(*command, pxe.job);
    command->add_option("--output", pxe.output, "The package's directory")->required()->type_name("DIR");
    command->add_flag("--force", pxe.force, "Replace a package that is there");
    command->callback([&] { run = [&] { return makePxePackage(pxe); }; });
}

void addBurn(CLI::App& app, BurnChoices& burning, const Surroundings& surroundings, Run& run) {
    auto* command = app.add_subcommand("burn", "Burn an image to a CD or DVD");
    command->add_option("IMAGE", burning.image, "The image")->required();
    command->add_option("DEVICE", burning.device, "The drive")->required();
    command->add_flag("--quiet", burning.quiet, "Announce no stages");
    addShowOptions(*command, burning.show);
    command->callback([&] { run = [&] { return burn(burning, surroundings); }; });
}

/// The parser would take "[x,y]" for a list of x and y.
std::vector<std::string> argumentsFromTheEnd(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    for (auto& argument : arguments) {
        if (!argument.empty() && argument.front() == '[') {
            argument.insert(0, "./");
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

int runCommand(int argc, char** argv, const Surroundings& surroundings) {
    CLI::App app("Makes bootable service media.", "velacreate");
    app.require_subcommand(1);
    Run run;
    IsoChoices iso;
    addIso(app, iso, surroundings, run);
    UsbChoices usb;
    addUsb(app, usb, surroundings, run);
    PxeChoices pxe;
    addPxe(app, pxe, run);
    BurnChoices burning;
    addBurn(app, burning, surroundings, run);
    std::string device;
    auto* identifyCommand = app.add_subcommand("identify", "Show vendor, model and size of a key");
    identifyCommand->add_option("DEVICE", device, "The key, a whole disk")->required();
    identifyCommand->callback([&] { run = [&] { return identify(device); }; });
    bool json = false;
    auto* listCommand = app.add_subcommand("list", "Show the removable and the USB disks");
    listCommand->add_flag("--json", json, "For a program to read");
    listCommand->callback([&] { run = [&] { return listDisks(json); }; });
    app.footer("Exit status:\n" + exitStatusTable());

    try {
        app.parse(argumentsFromTheEnd(argc, argv));
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
