#include "commandLine/commandLine.h"

#include "commandLine/helpText.h"
#include "commandLine/namedFiles.h"
#include "commandLine/nearest.h"
#include "commands/commands.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace velacreate {
namespace {
constexpr const char* UPDATES = "FILE";
constexpr const char* EVENTS_OPTION = "--events";

void addMessageOptions(CLI::App& command, ShowChoices& show) {
    command.add_flag("--verbose", show.verbose, "Show all messages as they come");
    command.add_option("--log", show.log, "Append all messages to this file")->type_name("FILE");
    command
        .add_option(
            EVENTS_OPTION, show.events,
            "Append a line of JSON for each event to this file, for programs; /dev/fd/N is descriptor N")
        ->type_name("FILE");
}

void addReport(CLI::App& command, ShowChoices& show) {
    command.add_option("--report", show.report, "Append a line of JSON for each medium to this file")
        ->type_name("FILE");
}

void addQuiet(CLI::App& command, Console& console) {
    command.add_flag_callback(
        "--quiet", [&console] { console.beQuiet(); }, "Show only differences and failures");
}

void addPauses(CLI::App& command, ShowChoices& show) {
    command.add_flag("--pauses", show.pauses, "Pause for ten seconds at the start of each stage");
}

CLI::Option* addPackage(CLI::App& command, JobChoices& job) {
    return command.add_option("--package", job.package, "The tool package")->type_name("ZIP");
}

void addUpdateFiles(CLI::App& command, JobChoices& job) {
    command.add_option("--directory", job.directory, "The directory of the update files")
        ->capture_default_str()
        ->type_name("DIR");
    command.add_option(UPDATES, job.files,
                       "Update files and directories, as paths below DIR; without any, or with the path . "
                       "alone, everything in DIR");
}

void addUpdates(CLI::App& command, JobChoices& job) {
    addUpdateFiles(command, job);
    command.add_flag("--keep", job.keep, "Keep the job directory and print its path");
}

void addManifest(CLI::App& command, ManifestChoices& manifest) {
    command.add_flag("--manifest", manifest.list,
                     "Also put medium.sha256 on the medium, a list of its files for sha256sum -c");
    command
        .add_option(
            "--sign", manifest.secretKey,
            "Also put medium.sha256.minisig beside that list, signed with this secret key of minisign")
        ->type_name("KEY");
    command.add_option("--title", manifest.title, "A line of text in that signature")->type_name("TEXT");
}

void addJobOptions(CLI::App& command, JobChoices& job, Console& console) {
    addPackage(command, job)->required();
    addUpdates(command, job);
    addManifest(command, job.manifest);
    command.add_flag("--verify,!--no-verify", job.verify,
                     "Read the finished medium back and compare it (default), or do not");
    addMessageOptions(command, job.show);
    addQuiet(command, console);
    addPauses(command, job.show);
}

/// What the inputs of a medium must prove.
void addInputChecks(CLI::App& command, JobChoices& job) {
    command
        .add_option(
            "--trust", job.trusted,
            "Take only a tool package with a good signature ZIP.minisig by this public key, or by one "
            "in this directory; may be given several times")
        ->allow_extra_args(false)
        ->type_name("KEY.pub");
    command
        .add_option("--sums", job.sums,
                    "Take only update files whose sums are in this file of sha256sum; with --trust, it is "
                    "signed, too")
        ->type_name("SUMS");
}

/// An option that takes one of some words.
CLI::Option* addWord(CLI::App& command, const std::string& name, std::string& word,
                     const std::vector<std::string>& words, const std::string& description) {
    return command.add_option(name, word, description)
        ->type_name(CLI::detail::join(words, "|"))
        ->check(CLI::IsMember(words).description(""));
}

CLI::Option* addPlatform(CLI::App& command, std::string& platform) {
    return addWord(command, "--platform", platform, {PLATFORM_NAME_LINUX, PLATFORM_NAME_PPC},
                   "The machines that start from the image: UEFI (linux) or PowerPC (ppc)");
}

void addWork(CLI::App& command, std::string& work) {
    command.add_option("--work", work, "The parent of the job directory (default: TMPDIR, or /var/tmp)")
        ->type_name("DIR");
}

void addYes(CLI::App& command, bool& yes) {
    command.add_flag("--yes", yes, "Do not ask");
}

constexpr int MOST_JOBS = 10000; // more than any machine has ports

void addKeys(CLI::App& command, KeyChoices& keys) {
    command.add_option("--device", keys.devices, "The key, a whole disk; may be given several times")
        ->allow_extra_args(false)
        ->type_name("DEVICE");
    command.add_flag("--all", keys.all, "All removable media, but no USB hard disks");
}

void addJobs(CLI::App& command, KeyChoices& keys) {
    command.add_option("--jobs", keys.jobs, "Make at most N keys at the same time (default: all)")
        ->type_name("N")
        ->check(CLI::Range(1, MOST_JOBS).description(""));
}

void addKeyOptions(CLI::App& command, KeyChoices& keys) {
    addJobs(command, keys);
    command.add_flag("--eject", keys.eject, "Power each key down when it was made");
    command.add_flag("--any-disk", keys.anyDisk, "Accept a disk that is neither removable nor on USB");
    addYes(command, keys.yes);
}

std::string listed(std::initializer_list<const char*> options) {
    std::string names;
    for (const char* option : options) {
        names += (names.empty() ? "" : ", ") + std::string(option);
    }
    return names;
}

void requireOneOf(const CLI::App& command, std::initializer_list<const char*> options) {
    const auto chosen = std::count_if(options.begin(), options.end(),
                                      [&](const char* option) { return command.count(option) != 0; });
    if (chosen != 1) {
        throw WrongCommandLine(command.get_name() + " takes one of " + listed(options));
    }
}

/// Whether a medium is compared with the list of sums on it, and nothing else is needed.
bool isByList(const CLI::App& command) {
    return command.get_option_no_throw("--no-signature") != nullptr &&
           command.count("--trust") + command.count("--no-signature") != 0;
}

/// Everything in a directory is meant only when the directory is named.
void requireUpdates(const CLI::App& command) {
    const auto* const updates = command.get_option_no_throw(UPDATES);
    if (isByList(command)) {
        return;
    }
    if (updates != nullptr && updates->empty() && command.count("--directory") == 0) {
        throw Refusal("FILE is required; see velacreate " + command.get_name() + " --help");
    }
}

/// The value may be an empty variable, or the next option.
void requireValues(const CLI::App& command) {
    for (const auto* option : command.get_options()) {
        for (const auto& value : option->results()) {
            if (option->nonpositional() && (value.empty() || value.rfind("--", 0) == 0)) {
                throw Refusal(option->get_name() + " takes a value" +
                              (value.empty() ? ", which is empty" : ", and " + quote(value) + " is none"));
            }
        }
    }
}

/// Refuses options that need one of others.
void refuseWithout(const CLI::App& command, std::initializer_list<const char*> needed,
                   std::initializer_list<const char*> options) {
    const auto isGiven = [&](const char* option) { return command.count(option) != 0; };
    const auto* const idle = std::find_if(options.begin(), options.end(), isGiven);
    if (idle != options.end() && std::none_of(needed.begin(), needed.end(), isGiven)) {
        throw WrongCommandLine(std::string(*idle) + " goes with " + listed(needed));
    }
}

/// The command line, and what the user has chosen on it.
class CommandLine {
public:
    CommandLine(const CallerEnvironment& caller, Console& console)
        : m_caller(caller), m_console(console), m_app("Makes bootable service media.", "velacreate") {
        m_app.formatter(std::make_shared<HelpText>());
        m_app.require_subcommand(1);
        m_app.set_version_flag("--version", "velacreate " VELACREATE_VERSION, "Print the version and exit");
        m_app.set_help_flag("-h,--help", "Print this help and exit");
        addIso();
        addUsb();
        addWrite();
        addPxe();
        addBurn();
        addVerify();
        addStation();
        addServe();
        addIdentify();
        addList();
        addHelp();
        m_app.footer("\"velacreate help COMMAND\" explains a command.\n\nExit status:\n" + exitStatusTable());
    }

    int run(int argc, char** argv) {
        try {
            m_app.parse(argumentsFromTheEnd(argc, argv));
        } catch (const CLI::Success& asked) { // for help, or the version
            std::ostringstream text;
            const int status = m_app.exit(asked, text, text);
            m_console.printResult(text.str());
            return status;
        } catch (const CLI::ParseError& error) {
            refuse(error);
        }
        requireProc();
        openEvents();
        std::string reason;
        const auto tell = [&](const char* text) {
            m_console.complain(text);
            reason = text;
        };
        const int status = exitStatusAfter([this] { return runChosen(); }, tell);
        m_console.events().end(status, reason);
        return status;
    }

private:
    CLI::App& add(const std::string& name, const std::string& description) {
        return *m_app.add_subcommand(name, description);
    }

    /// Runs a function if the user has chosen this command.
    /// @param takesFiles  an option without which the command takes no update files; null when there is none
    void call(CLI::App& command, const std::function<int()>& run, const char* takesFiles = nullptr) {
        command.callback([this, run, takesFiles, &command] {
            if (takesFiles == nullptr || command.count(takesFiles) != 0) {
                requireUpdates(command);
            }
            requireValues(command);
            if (command.get_option_no_throw("--title") != nullptr) {
                refuseWithout(command, {"--sign"}, {"--title"});
            }
            m_chosen = &command;
            m_run = run;
        });
    }

    /// Before anything else is opened, whose descriptor could be meant by mistake.
    void openEvents() {
        const auto* const events = m_chosen->get_option_no_throw(EVENTS_OPTION);
        if (events != nullptr && !events->empty()) {
            const auto path = events->as<std::string>();
            m_console.events().open(path, m_chosen->get_name(), isNamedOtherwise(path, *m_chosen));
        }
    }

    int runChosen() {
        try {
            return m_run();
        } catch (const WrongCommandLine&) {
            m_console.events().close();
            throw;
        }
    }

    void addIso() {
        auto& command = add("iso", "Make a bootable ISO image");
        call(command, [this, &command] {
            refuseWithout(command, {"--burn"}, {"--yes"});
            return makeIso(m_iso, m_caller, m_console);
        });
        addJobOptions(command, m_iso.job, m_console);
        addInputChecks(command, m_iso.job);
        addReport(command, m_iso.job.show);
        command.add_option("--output", m_iso.output, "The image to make; its name ends in .iso")
            ->required()
            ->type_name("IMAGE");
        command.add_flag(
            "--force", m_iso.force,
            "Replace an existing image; with --burn, also overwrite a file in place of the drive");
        addPlatform(command, m_iso.platform)->capture_default_str();
        command.add_flag("--checksum", m_iso.checksum, "Also write IMAGE.sha256, for sha256sum -c");
        command.add_option("--burn", m_iso.burner, "Burn the finished image with this drive")
            ->type_name("DEVICE");
        addYes(command, m_iso.yes);
    }

    void addUsb() {
        auto& command = add("usb", "Fill bootable USB keys");
        call(command, [this, &command] {
            requireOneOf(command, {"--device", "--all", "--key-image", "--output"});
            refuseWithout(command, {"--output"}, {"--capacity", "--checksum", "--force"});
            refuseWithout(command, {"--device", "--all", "--key-image"}, {"--work"});
            return makeUsbKey(m_usb, m_caller, m_console);
        });
        addJobOptions(command, m_usb.job, m_console);
        addInputChecks(command, m_usb.job);
        addKeys(command, m_usb.keys);
        command
            .add_option("--key-image,--image", m_usb.keyImage, "Fill this image of a key instead of a key")
            ->type_name("FILE");
        command
            .add_option("--output", m_usb.output,
                        "Make the image of a key instead, and IMAGE.bmap; needs no root")
            ->type_name("IMAGE");
        command
            .add_option("--capacity", m_usb.capacity,
                        "The size in GB of the keys that the image is for (default: the smallest that fits)")
            ->type_name("1|2|4|8")
            ->check(CLI::IsMember({1, 2, 4, 8}).description(""));
        command.add_flag("--force", m_usb.force, "Replace an existing image");
        command.add_flag("--checksum", m_usb.checksum, "Also write IMAGE.sha256, for sha256sum -c");
        addWord(command, "--format", m_usb.format, {FORMAT_ALWAYS, FORMAT_NEVER, FORMAT_AUTO},
                std::string("When to format the key; auto does so when it lacks ") +
                    VelaCreation::USB_BOOT_FILE + ", its FAT is missing or damaged, or it holds other files")
            ->capture_default_str();
        command.add_flag("--erase", m_usb.erase, "Make a key of any stick; this erases everything on it");
        addKeyOptions(command, m_usb.keys);
        addReport(command, m_usb.job.show);
        addWork(command, m_usb.work);
    }

    void addWrite() {
        auto& command = add("write", "Write an image of a key to USB sticks");
        call(command, [this, &command] {
            requireOneOf(command, {"--device", "--all"});
            return writeKeys(m_write, m_caller, m_console);
        });
        command
            .add_option("KEY.img", m_write.image, "The image; KEY.img.bmap beside it is used if it exists")
            ->required();
        addKeys(command, m_write.keys);
        addKeyOptions(command, m_write.keys);
        addReport(command, m_write.show);
        command.add_flag("--verify,!--no-verify", m_write.verify,
                         "Read each key back and compare it (default), or do not");
        addMessageOptions(command, m_write.show);
        addQuiet(command, m_console);
    }

    void addStation() {
        auto& command = add("station", "Make a key of each stick that is plugged in");
        const auto run = [this, &command] {
            requireOneOf(command, {"--package", "--key-image", "--learn"});
            refuseWithout(command, {"--package", "--key-image"},
                          {"--slots", "--erase", "--largest", "--jobs", "--report", "--board", "--log",
                           "--verbose", "--events", "--work", "--yes"});
            refuseWithout(command, {"--package"},
                          {"--directory", UPDATES, "--manifest", "--sign", "--trust", "--sums"});
            if (m_station.learn.empty() && m_station.slots.empty()) {
                throw WrongCommandLine(
                    "station takes a slots file; name it with --slots, or make one with --learn");
            }
            return runStation(m_station, m_caller, m_console);
        };
        call(command, run, "--package");
        auto& usb = m_station.usb;
        addPackage(command, usb.job);
        addUpdateFiles(command, usb.job);
        addManifest(command, usb.job.manifest);
        addInputChecks(command, usb.job);
        command
            .add_option("--key-image", m_station.image,
                        "Write this image of a key, instead of making keys from files")
            ->type_name("FILE");
        command.add_option("--slots", m_station.slots, "The file that names the ports of the station")
            ->type_name("FILE");
        command.add_option("--learn", m_station.learn, "Make such a file: asks for a stick in each slot")
            ->type_name("FILE");
        command.add_flag("--erase", usb.erase, "Make a key of any stick; this erases everything on it");
        command
            .add_option_function<std::string>(
                "--largest",
                [this](const std::string& text) {
                    const auto size = sizeIn(text);
                    refuseIf(!size, "--largest takes a size such as 64GiB, and " + quote(text) + " is none");
                    m_station.largest = *size;
                },
                "Refuse larger sticks (default: 64GiB)")
            ->type_name("SIZE");
        addJobs(command, usb.keys);
        addReport(command, usb.job.show);
        command
            .add_option("--board", m_station.board,
                        "Show the slots in browsers, on this machine or at this address")
            ->type_name("[ADDRESS:]PORT");
        addYes(command, usb.keys.yes);
        addMessageOptions(command, usb.job.show);
        addWork(command, usb.work);
    }

    void addPxe() {
        auto& command = add("pxe", "Make a network-boot directory");
        call(command, [this] { return makeNetbootDirectory(m_pxe, m_caller, m_console); });
        addJobOptions(command, m_pxe.job, m_console);
        addInputChecks(command, m_pxe.job);
        addReport(command, m_pxe.job.show);
        command.add_option("--output", m_pxe.output, "The network-boot directory to make")
            ->required()
            ->type_name("DIR");
        command.add_flag("--force", m_pxe.force, "Replace an existing network-boot directory");
    }

    void addBurn() {
        auto& command = add("burn", "Burn an image to a CD or DVD");
        call(command, [this] { return burn(m_burn, m_caller, m_console); });
        command.add_option("IMAGE", m_burn.image, "The image to burn")->required();
        command.add_option("DEVICE", m_burn.device, "The drive")->required();
        command.add_flag("--force", m_burn.overwrite.force, "Overwrite a file in place of the drive");
        addYes(command, m_burn.overwrite.yes);
        command.add_flag("--verify,!--no-verify", m_burn.verify,
                         "Read the disc back and compare it (default), or do not");
        addMessageOptions(command, m_burn.show);
        addReport(command, m_burn.show);
        addQuiet(command, m_console);
        addPauses(command, m_burn.show);
    }

    void addVerify() {
        auto& command = add("verify", "Compare a medium with what would be made now");
        call(command, [this, &command] {
            requireOneOf(command, {"--image", "--device", "--key-image", "--pxe", "--disc"});
            if (isByList(command)) {
                refuseBesideList(command);
            } else if (command.count("--disc") + command.count("--device") + command.count("--package") ==
                       0) {
                throw WrongCommandLine("what would be made now takes a tool package; name it with --package");
            }
            refuseWithout(command, {"--package"}, {"--directory", "--keep"});
            refuseWithout(command, {"--package", "--trust", "--no-signature"}, {"--platform", "--work"});
            refuseWithout(command, {"--image", "--disc"}, {"--platform"});
            return verify(m_verify, m_caller, m_console);
        });
        addPackage(command, m_verify.job)
            ->description("The tool package; not needed to compare a disc or a key with its image");
        addUpdates(command, m_verify.job);
        command
            .add_option("--trust", m_verify.trust,
                        "Compare the medium with the list of sums on it, which must be signed by this public "
                        "key, or by one in this directory; may be given several times")
            ->allow_extra_args(false)
            ->type_name("KEY.pub");
        command.add_flag("--no-signature", m_verify.noSignature,
                         "Compare the medium with the list of sums on it, whoever has made it");
        command.add_option("--image", m_verify.image, "The ISO image to compare")->type_name("IMAGE");
        command
            .add_option("--device", m_verify.devices,
                        "The key to compare, a whole disk; may be given several times; without a tool "
                        "package, FILE is the image that was written")
            ->allow_extra_args(false)
            ->type_name("DEVICE");
        command.add_option("--key-image", m_verify.keyImage, "The image of a key to compare")
            ->type_name("FILE");
        command.add_option("--pxe", m_verify.netbootDirectory, "The network-boot directory to compare")
            ->type_name("DIR");
        command
            .add_option("--disc", m_verify.disc,
                        "The drive with the disc to compare; without a tool package, FILE is the image that "
                        "was burned")
            ->type_name("DEVICE");
        addPlatform(command, m_verify.platform)
            ->description(
                "The machines that must start from the image: UEFI (linux) or PowerPC (ppc); by default, "
                "those that do");
        addMessageOptions(command, m_verify.job.show);
        addQuiet(command, m_console);
        addWork(command, m_verify.work);
    }

    void addServe() {
        auto& command = add("serve", "Boot machines on a network");
        call(command, [this] { return serve(m_serve, m_caller, m_console); });
        command.add_option("DIR", m_serve.directory, "The network-boot directory to serve by TFTP");
        command
            .add_option("--image", m_serve.image,
                        "The ISO image to serve by HTTP, for UEFI machines that keep it in their memory")
            ->type_name("IMAGE");
        command
            .add_option("--interface", m_serve.interface, "The network interface that leads to the machines")
            ->required()
            ->type_name("IF");
        command
            .add_option("--range", m_serve.range,
                        "The addresses to hand out (default: the upper half of the interface's network)")
            ->type_name("FIRST,LAST");
        command.add_flag("--proxy", m_serve.proxy, "Hand out no addresses; another DHCP server does");
        command
            .add_option("--names", m_serve.names,
                        "Show names for machines: a file with a hardware address and a name on each line")
            ->type_name("FILE");
        command
            .add_option(
                "--print-config", m_serve.printed,
                "Serve nothing; write the configuration of the service for dnsmasq, Kea, lighttpd and "
                "nginx, with the files, into a new directory")
            ->type_name("DIR");
        addYes(command, m_serve.yes);
        addMessageOptions(command, m_serve.show);
    }

    void addIdentify() {
        auto& command = add("identify", "Show vendor, model and size of a key");
        call(command, [this] { return identify(m_device, m_console); });
        command.add_option("DEVICE", m_device, "The key, a whole disk")->required();
    }

    void addList() {
        auto& command = add("list", "Show the removable disks and the USB disks");
        call(command, [this] { return listDisks(m_json, m_console); });
        command.add_flag("--json", m_json, "Print JSON for a program");
    }

    void addHelp() {
        auto& command = add("help", "Explain a command");
        call(command, [this] {
            const auto& told = m_command.empty() ? m_app : commandNamed(m_command);
            const auto name = m_command.empty() ? "velacreate" : "velacreate " + m_command;
            m_console.printResult(m_app.get_formatter()->make_help(&told, name, CLI::AppFormatMode::Normal));
            return 0;
        });
        command.add_option("COMMAND", m_command, "The command to explain");
    }

    const CLI::App& commandNamed(const std::string& name) const {
        try {
            return *m_app.get_subcommand(name);
        } catch (const CLI::OptionNotFound&) {
            throw Refusal("there is no command " + quote(name) + meantCommand(name) +
                          "; see velacreate --help");
        }
    }

    static void refuseBesideList(const CLI::App& command) {
        if (command.count("--trust") != 0 && command.count("--no-signature") != 0) {
            throw WrongCommandLine("--trust and --no-signature exclude each other");
        }
        if (command.count("--package") + command.count(UPDATES) != 0) {
            throw WrongCommandLine("the list of sums takes the place of --package and FILE");
        }
    }

    /// The parser would read "[x,y]" as a list of x and y.
    static std::vector<std::string> argumentsFromTheEnd(int argc, char** argv) {
        std::vector<std::string> arguments(argv + 1, argv + argc);
        for (auto& argument : arguments) {
            if (!argument.empty() && argument.front() == '[') {
                argument.insert(0, "./");
            }
        }
        std::reverse(arguments.begin(), arguments.end());
        return arguments;
    }

    /// The parser's own messages are about the parser.
    static std::string meaningOf(const CLI::ParseError& error) {
        const std::string text = error.what();
        if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
            return text.substr(0, text.find(':')) +
                   (text.find("At Most") != std::string::npos ? " may be given once only" : " takes a value");
        }
        return printable(text);
    }

    /// @return the option that a mistyped one was meant to be, as a question; may be empty
    static std::string meantIn(const CLI::App& command, const std::string& mistyped) {
        std::vector<std::string> known;
        for (const auto* option : command.get_options()) {
            for (const auto& name : option->get_lnames()) {
                known.push_back("--" + name);
            }
        }
        return meantAmong(known, mistyped);
    }

    std::string meantCommand(const std::string& mistyped) const {
        std::vector<std::string> known;
        for (const auto* command : m_app.get_subcommands([](const CLI::App* /*any*/) { return true; })) {
            known.push_back(command->get_name());
        }
        return meantAmong(known, mistyped);
    }

    /// @return the word that a mistyped one was meant to be, as a question; may be empty
    static std::string meantAmong(const std::vector<std::string>& known, const std::string& mistyped) {
        const auto nearest = nearestTo(mistyped, known);
        return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
    }

    /// An unknown word is reported first: it may be a misspelt option that seems to be missing.
    [[noreturn]] void refuse(const CLI::ParseError& error) const {
        if (const auto early = m_app.remaining(); !early.empty() && !m_app.get_subcommands().empty()) {
            throw Refusal("put " + printable(early.front()) + " after the command");
        }
        const auto chosen = m_app.get_subcommands();
        const auto& command = chosen.empty() ? m_app : *chosen.front();
        const auto see = "; see velacreate " + (chosen.empty() ? "" : command.get_name() + " ") + "--help";
        const auto isOption = [](const std::string& argument) {
            return argument.size() > 1 && argument.front() == '-';
        };
        const auto strange = command.remaining();
        const auto option = std::find_if(strange.begin(), strange.end(), isOption);
        const bool isAfterNoCommand = chosen.empty() && option != strange.begin();
        if (option != strange.end() && !isAfterNoCommand) {
            const auto name = option->substr(0, option->find('='));
            throw Refusal("there is no option " + quote(name) + meantIn(command, name) + see);
        }
        if (!strange.empty()) {
            const auto& word = strange.front();
            throw Refusal(chosen.empty() ? "there is no command " + quote(word) + meantCommand(word) + see
                                         : "nothing can be made of " + quote(word) + see);
        }
        throw Refusal((chosen.empty() ? "a command is missing" : meaningOf(error)) + see);
    }

    const CallerEnvironment& m_caller;
    Console& m_console;
    CLI::App m_app;
    const CLI::App* m_chosen = nullptr;
    std::function<int()> m_run;
    IsoChoices m_iso;
    UsbChoices m_usb;
    WriteChoices m_write;
    PxeChoices m_pxe;
    BurnChoices m_burn;
    VerifyChoices m_verify;
    StationChoices m_station;
    ServeChoices m_serve;
    std::string m_device;
    bool m_json = false;
    std::string m_command;
};
} // namespace

int runCommandLine(int argc, char** argv, const CallerEnvironment& caller, Console& console) {
    return CommandLine(caller, console).run(argc, argv);
}

} // namespace velacreate
