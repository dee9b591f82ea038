#include "bootableimg.h"

#include "stage.h"

namespace VelaCreation {

BootableIMG::BootableIMG(VelaLoggerIfc& logger) : BootableMedia(logger) {}

BootableIMG::~BootableIMG() = default;

int BootableIMG::prepare() {
    announce(*this, {1, "Copying tools for bootable PXE creation"});
    return VELAERROR_SUCCESS;
}

} // namespace VelaCreation
