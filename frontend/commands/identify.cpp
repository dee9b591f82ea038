#include "commands/commands.h"

#include "disks/disks.h"
#include "support/failure.h"

#include <bootableusb.h>
#include <mediaRules.h>

#include <string>

#include <fcntl.h>

namespace velacreate {
namespace {
class FailureLogger : public VelaLoggerIfc {
public:
    explicit FailureLogger(Console& console) : m_console(console) {}

    void logMessage(int level, const std::string& message) override {
        if (level == VelaCreation::LEVEL_FAILURE) {
            m_console.showUnlogged(message);
        }
    }
    int checkpoint(int /*level*/, const std::string& /*message*/) override { return 0; }

private:
    Console& m_console;
};
} // namespace

int identify(const std::string& device, Console& console) {
    const auto disk = wholeDisk(device);
    FailureLogger logger(console);
    VelaCreation::_USBDATA about;
    VelaCreation::BootableUSB(logger).getUSBData(disk.node(), &about);
    console.printResult("vendor: " + printable(about.vendor) + "\nmodel:  " + printable(about.model) +
                        "\nsize:   " + about.size + "\n");
    // Opened for real, because root seems to have every right.
    const Descriptor opened(open(disk.node().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!opened.isOpen()) {
        console.complain(SystemError().about(disk.node() + " cannot be read, so not all is detected"));
    }
    return 0;
}

} // namespace velacreate
