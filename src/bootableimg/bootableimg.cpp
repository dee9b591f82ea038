#include "bootableimg.h"

#include "mediaRules.h"
#include "stage.h"

namespace VelaCreation {

BootableIMG::BootableIMG(VelaLoggerIfc& logger) : BootableMedia(logger) {}

BootableIMG::~BootableIMG() = default;

int BootableIMG::prepare() {
    announce(*this, {1, STAGE_PXE_TOOLS});
    return VELAERROR_SUCCESS;
}

} // namespace VelaCreation
