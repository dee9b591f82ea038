#include "commands.h"
#include "consoleLogger.h"
#include "interrupt.h"
#include "job.h"
#include "tools.h"

#include <bootableiso.h>

#include <iostream>

namespace velacreate {

int burn(const BurnChoices& choices) {
    requireRoot();
    const auto image = existing(choices.image);
    requireWord(image);
    requireWord(choices.device);
    const auto toolkit = findToolkit();
    if (toolkit.isOwn) {
        requireTools({"wodim"});
    }

    ConsoleLogger logger(choices.verbose, choices.log);
    VelaCreation::BootableISO builder(logger);
    const TemporaryDirectory workDir(fs::temp_directory_path());
    fs::copy(toolkit.folder / "cdrecord", workDir.path());
    fs::current_path(workDir.path());
    watchForInterrupt();
    const Report report;
    std::cout << "Burning " << image.string() << " to " << choices.device << std::endl;

    const int status = attempt(logger, [&] {
        logger.stopAtMessages(true);
        return builder.BurnISO(image, choices.device, "", !choices.quiet);
    });
    fs::current_path("/");
    return report.end(status, "Burned " + image.string() + " to " + choices.device);
}

} // namespace velacreate
