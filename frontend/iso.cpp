#include "commands.h"
#include "exitStatus.h"
#include "job.h"
#include "tools.h"

#include <bootableiso.h>

namespace velacreate {

namespace {

int readImageBack(const Job& job, const fs::path& image, ConsoleLogger& logger) {
    const TemporaryDirectory contents(image.parent_path());
    if (runTool({"xorriso", "-no_rc", "-osirrox", "on", "-indev", image, "-extract", "/", contents.path()})
            .status != 0) {
        throw std::runtime_error(image.string() + " cannot be read back");
    }
    return job.compareWith(contents.path(), logger);
}

} // namespace

int makeIso(const IsoChoices& choices) {
    const bool isPowerPc = choices.platform == "ppc";
    requireRoot();
    requireTools({"unzip"});
    const std::string bootCatalog = "boot.catalog"; // written by the ISO tool in a file's place
    Job job(choices.job, {"pxelinux.cfg", "pxelinux.0", isPowerPc ? "" : bootCatalog});
    requireQuotable(job.directory());

    const auto image = inExistingDirectory(choices.output);
    requireQuotable(image);
    job.requireSafeOutput(image);
    const bool isReplaced = isTaken(image);
    if (isReplaced && !fs::is_regular_file(image)) {
        throw Refusal(shown(image) + " cannot be replaced by an image");
    }
    if (isReplaced && !job.mayReplace()) {
        throw Refusal(shown(image) + " exists (--force replaces it)");
    }
    if (!choices.burner.empty()) {
        requireWord(choices.burner);
        requireWord(image);
    }

    const auto toolkit = findToolkit();
    if (job.wantsReadBack() || (toolkit.isOwn && !isPowerPc)) {
        requireTools({"xorriso"});
    }
    if (toolkit.isOwn && isPowerPc) {
        requireTools({"genisoimage"});
    }
    if (toolkit.isOwn && !choices.burner.empty()) {
        requireTools({"wodim"});
    }

    ConsoleLogger logger = job.openLogger();
    VelaCreation::BootableISO builder(logger);
    // The library writes its capture file where it takes the launchers from.
    const TemporaryDirectory tools(fs::temp_directory_path());
    const auto report = job.begin("the image " + image.string());

    int status = attempt(logger, [&] {
        for (const char* launcher : {"xorriso", "cdrecord"}) {
            fs::copy(toolkit.folder / launcher, tools.path());
        }
        fs::current_path(tools.path());
        auto files = job.files();
        return builder.CreateISO(job.directory(), image, files, job.package(), isPowerPc ? 2 : 1);
    });
    std::error_code ignored;
    if (status != 0 && !isReplaced) {
        fs::remove(image, ignored);
    }
    if (status == 0 && job.wantsReadBack()) {
        status = attempt(logger, [&] { return readImageBack(job, image, logger); });
    }
    if (status == 0 && !choices.burner.empty()) {
        status = attempt(logger, [&] {
            logger.stopAtMessages(true);
            return builder.BurnISO(image, choices.burner, "", true);
        });
    }

    std::string size;
    if (status == 0) { // which a launcher may have said without making an image
        status = attempt(logger, [&] {
            size = sizeText(fs::file_size(image));
            return 0;
        });
    }

    job.cleanUp(builder);
    return report.end(status, "Made the image " + image.string() + ", " + size);
}

} // namespace velacreate
