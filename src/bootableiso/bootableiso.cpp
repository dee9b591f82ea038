#include "bootableiso.h"

namespace VelaCreation {

const std::string BootableISO::MKISOFS_PAR_WINDOWS =
    " -joliet-long -verbose -omit-period -b isolinux.bin -c boot.catalog -no-emul-boot -boot-load-size 4"
    " -boot-info-table -o ";
const std::string BootableISO::MKISOFS_PAR_LINUX =
    " -joliet-long -verbose -omit-period -b isolinux.bin -c boot.catalog -no-emul-boot -boot-load-size 4"
    " -boot-info-table -o ";
const std::string BootableISO::MKISOFS_PAR_PPC =
    " -U -D -joliet-long -rational-rock -verbose -omit-period -o ";
const std::string BootableISO::XORRISO_PAR_WINDOWS =
    " -as mkisofs  -D -rational-rock -J -joliet-long -verbose -omit-period -e efibootimg -c boot.catalog"
    " -no-emul-boot -boot-load-size 4 -o ";
const std::string BootableISO::XORRISO_PAR_LINUX =
    " -as mkisofs  -D -rational-rock -J -joliet-long -verbose -omit-period -e efibootimg -c boot.catalog"
    " -no-emul-boot -boot-load-size 4 -o ";
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
