#include "bootableiso.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "stage.h"

#include <fstream>

namespace VelaCreation {

namespace {

enum class BurnFailure { overburnNeeded, noDisc, discTooSmall, other };

/// The first line with a known cause counts.
BurnFailure burnFailure(const std::string& capturePath) {
    std::ifstream capture(capturePath);
    for (std::string line; std::getline(capture, line);) {
        const auto names = [&line](const char* text) { return line.find(text) != std::string::npos; };
        if (names("-overburn option")) {
            return BurnFailure::overburnNeeded;
        }
        if (names("No disk / Wrong disk!")) {
            return BurnFailure::noDisc;
        }
        if (names("Data may not fit on current disk.")) {
            return BurnFailure::discTooSmall;
        }
    }
    return BurnFailure::other;
}

} // namespace

int BootableISO::BurnISO(const std::string& isoFile, const std::string& device, std::string /*reserved*/,
                         bool reportProgress) {
    const Operation operation(*m_logger, "BootableISO::BurnISO()");

    if (!endsWithIso(isoFile)) {
        return operation.failed(VELAERROR_ISO_EXTENSION_ERROR, "Iso file does not end with iso extension");
    }
    if (!isFileExist(isoFile)) {
        return operation.failed(VELAERROR_ISO_NOT_FOUND, "Iso file does not exist");
    }

    if (reportProgress) {
        announce(*this, {6, STAGE_BLANKING});
    }
    const std::string blankCommand = captured("./" + CDRECORD_NAME + " dev=" + device + " blank=fast");
    operation.progress(blankCommand);
    if (!run(blankCommand)) {
        saveFile(CAPTURE_FILE);
        operation.warn("Command cdrecord[blank] failed. In BootableISO::BurnISO()");
        operation.warn("Ignore blank error");
    }

    if (reportProgress) {
        announce(*this, {7, STAGE_BURNING});
    }
    const std::string writeCommand =
        captured("echo | ./" + CDRECORD_NAME + " -v -eject dev=" + device + " " + isoFile);
    operation.progress(writeCommand);
    if (run(writeCommand)) {
        return VELAERROR_SUCCESS;
    }

    saveFile(CAPTURE_FILE);
    switch (burnFailure(CAPTURE_FILE)) {
    case BurnFailure::overburnNeeded:
        operation.warn("Failed to allocate the required memory of CD.");
        return VELAERROR_CD_MEMORY_ERROR;
    case BurnFailure::noDisc:
        operation.warn("No disk or wrong disk in drive: " + device);
        return VELAERROR_NO_DISK_OR_WRONG_DISK;
    case BurnFailure::discTooSmall:
        return operation.failed(VELAERROR_BURN_ERROR, "Disk space is not enough");
    case BurnFailure::other:
        break;
    }
    return operation.failed(VELAERROR_BURN_ERROR, "Command cdrecord[write] failed");
}

} // namespace VelaCreation
