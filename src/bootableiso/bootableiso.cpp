#include "bootableiso.h"

#include "mediaRules.h"

namespace VelaCreation {

namespace {
/// @param loader  the option that names the boot file
std::string bootOptions(const std::string& loader) {
    return loader + " -c " + BOOT_CATALOG + " -no-emul-boot -boot-load-size 4";
}
} // namespace

const std::string BootableISO::MKISOFS_PAR_WINDOWS = " -joliet-long -verbose -omit-period " +
                                                     bootOptions(std::string("-b ") + BIOS_LOADER) +
                                                     " -boot-info-table -o ";
const std::string BootableISO::MKISOFS_PAR_LINUX = MKISOFS_PAR_WINDOWS;
const std::string BootableISO::MKISOFS_PAR_PPC =
    " -U -D -joliet-long -rational-rock -verbose -omit-period -o ";
const std::string BootableISO::XORRISO_PAR_WINDOWS =
    " -as mkisofs  -D -rational-rock -J -joliet-long -verbose -omit-period " +
    bootOptions(std::string("-e ") + EFI_LOADER) + " -o ";
const std::string BootableISO::XORRISO_PAR_LINUX = XORRISO_PAR_WINDOWS;
const std::string BootableISO::XORRISO_PAR_PPC =
    " -as mkisofs -U -D -J -joliet-long -rational-rock -verbose -omit-period -o ";

BootableISO::BootableISO(VelaLoggerIfc& logger) : BootableMedia(logger) {}

BootableISO::~BootableISO() = default;

int BootableISO::prepare() {
    if (!copyFile(MKISOFS_TOOL_NAME, m_workDir) || !copyFile(CDRECORD_NAME, m_workDir)) {
        return VELAERROR_FILE_OR_DIR_NOT_FOUND;
    }
    return VELAERROR_SUCCESS;
}

} // namespace VelaCreation
