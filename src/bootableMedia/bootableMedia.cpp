#include "bootableMedia.h"

#include "operation.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace VelaCreation {

const std::string BootableMedia::BOOT_FILE = "boot";
const std::string BootableMedia::TEMP_FILE = "tmpInput";
const std::string BootableMedia::IMAGE_1 = "init1.img";
const std::string BootableMedia::IMAGE_2 = "init2.img";
const std::string BootableMedia::IMAGE_4 = "init4.img";
const std::string BootableMedia::IMAGE_8 = "init8.img";
const std::string BootableMedia::CYGWINZ_DLL_NAME = "cygwinz.dll";
const std::string BootableMedia::CYGWIN1_DLL_NAME = "cygwin1.dll";
const std::string BootableMedia::CYGICONV_DLL_NAME = "cygiconv-2.dll";
const std::string BootableMedia::CYGGCC_DLL_NAME = "cyggcc_s-1.dll";
const std::string BootableMedia::ISO_DIR_NAME = "ISOCreation";
const std::string BootableMedia::MINIUNZ_TOOL_NAME = "unzip";
const std::string BootableMedia::FILE_SEPERATOR = "/";
const std::string BootableMedia::CLONE_TOOL_NAME = "dd";
const std::string BootableMedia::MKISOFS_TOOL_NAME = "xorriso";
const std::string BootableMedia::ZIP_TOOL_NAME = "zip";
const std::string BootableMedia::CDRECORD_NAME = "cdrecord";

BootableMedia::BootableMedia(VelaLoggerIfc& logger) : m_logger(&logger) {}

BootableMedia::~BootableMedia() {
    m_logger = nullptr;
}

void BootableMedia::processSleep(int seconds) {
    sleep(static_cast<unsigned int>(std::max(seconds, 0)));
}

std::string BootableMedia::getFormatMessage() {
    return errorText(errno);
}

} // namespace VelaCreation
