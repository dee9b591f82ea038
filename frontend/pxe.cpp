#include "commands.h"
#include "deviceGuard.h"
#include "job.h"
#include "tools.h"

#include <bootableimg.h>

#include <pwd.h>

namespace velacreate {

namespace {

/// The job removes what stands at its output. What many depend on is not given to it by any option.
void requireRemovable(const fs::path& output, const Job& job) {
    const auto requireOutside = [&](const fs::path& place, const std::string& what) {
        if (isWithin(place, output)) {
            throw Refusal(shown(output) + " is, or holds, " + what + ", and would be removed");
        }
    };
    requireOutside("/", "the root directory");
    if (output.parent_path() == "/" && fs::exists(output)) {
        throw Refusal(shown(output) + " is a directory of the system and would be removed");
    }
    requireOutside(fs::current_path(), "the current directory");
    requireOutside(job.directory(), "the working directory");
    requireOutside(job.package(), "the tool package");
    for (const auto& file : job.files()) {
        requireOutside(fs::canonical(job.directory() / file), "the update file " + shown(file));
    }
    for (const auto& mount : mounts()) {
        requireOutside(mount.place, "the mount point " + shown(mount.place));
    }
    setpwent();
    while (const passwd* user = getpwent()) { // NOLINT(concurrency-mt-unsafe): the only thread so far
        requireOutside(user->pw_dir, std::string("the home of ") + user->pw_name);
    }
    endpwent();
}

std::uintmax_t totalSize(const fs::path& directory) {
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            size += entry.file_size();
        }
    }
    return size;
}

int readPackageBack(const Job& job, const fs::path& output, ConsoleLogger& logger) {
    const auto archive = output / "ks.zip";
    const TemporaryDirectory contents(output.parent_path());
    if (runTool({"unzip", "-q", archive, "-d", contents.path()}).status != 0) {
        throw std::runtime_error(archive.string() + " cannot be read back");
    }
    return job.compareWith(contents.path(), logger);
}

} // namespace

int makePxePackage(const PxeChoices& choices) {
    requireRoot();
    requireTools({"unzip", "zip"});
    Job job(choices.job,
            {"pxelinux.cfg", "img2a", "img3a", "pxelinux.0", "isolinux.bin", "img1a.cfg", "ksrootfs",
             "bsb1.lss", "bsb.msg", "splash.xpm.gz", "unicode.pf2", "efibootimg", ".*"});

    const auto output = inExistingDirectory(choices.output);
    requireQuotable(output);
    job.requireSafeOutput(output);
    requireRemovable(output, job);
    const bool isThere = isTaken(output);
    const bool isEmptyDirectory =
        isThere && !fs::is_symlink(output) && fs::is_directory(output) && fs::is_empty(output);
    if (isThere && !isEmptyDirectory && !job.mayReplace()) {
        throw Refusal(shown(output) + " exists and is not empty (--force replaces it)");
    }

    ConsoleLogger logger = job.openLogger();
    VelaCreation::BootableIMG builder(logger);
    const auto report = job.begin("the network-boot package " + output.string());

    int status = attempt(logger, [&] {
        auto files = job.files();
        return builder.CreateIMG(job.directory(), output, files, job.package());
    });
    std::error_code ignored;
    if (status != 0 && !isThere) {
        fs::remove_all(output, ignored);
    }
    if (status == 0 && job.wantsReadBack()) {
        status = attempt(logger, [&] { return readPackageBack(job, output, logger); });
    }

    job.cleanUp(builder);
    const auto size = status == 0 ? sizeText(totalSize(output)) : "";
    return report.end(status, "Made the network-boot package " + output.string() + ", " + size);
}

} // namespace velacreate
