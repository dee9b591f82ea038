#include "bootableiso.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "stage.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace VelaCreation {

namespace {

std::string isoCommand(int platform, const std::string& quotedIsoFile) {
    const std::string tool = "./" + BootableMedia::MKISOFS_TOOL_NAME;
    const std::string& stagingDir = BootableMedia::ISO_DIR_NAME;
    if (platform == PLATFORM_PPC) {
        return captured(tool + BootableISO::XORRISO_PAR_PPC + quotedIsoFile + " -chrp-boot -prep-boot " +
                        stagingDir + "/" + POWERPC_LOADER + " " + stagingDir);
    }
    return captured(tool + BootableISO::XORRISO_PAR_LINUX + quotedIsoFile + " " + stagingDir);
}

int unpack(BootableISO& builder, const Operation& operation, const std::string& toolPackage) {
    announce(builder, {2, STAGE_EXTRACTING});
    if (!runCaptured(BootableMedia::MINIUNZ_TOOL_NAME + " -xo " + toolPackage)) {
        return operation.failed(VELAERROR_UNZIP_ERROR, "Unzipping fails");
    }
    if (!builder.createDirectory(BootableMedia::ISO_DIR_NAME)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_CREATE_ERROR,
                                "Creating " + inQuotes(BootableMedia::ISO_DIR_NAME) + " directory fails");
    }
    return VELAERROR_SUCCESS;
}

int stageFiles(BootableISO& builder, const Operation& operation, std::vector<std::string>& updateFiles) {
    announce(builder, {3, STAGE_COPYING});
    const std::string& stagingDir = BootableMedia::ISO_DIR_NAME;
    if (const int result = builder.copyFiles(BootableMedia::BOOT_FILE, stagingDir, {});
        result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying BOOT_FILE directory fails");
    }
    std::sort(updateFiles.begin(), updateFiles.end());
    updateFiles.erase(std::unique(updateFiles.begin(), updateFiles.end()), updateFiles.end());
    if (const int result = builder.copyFiles("", stagingDir, updateFiles); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying source file list fails");
    }
    const std::string installer = stagingDir + BootableMedia::FILE_SEPERATOR + INSTALLER;
    if (builder.isFileExist(installer)) {
        operation.note(std::string("Need to chmod ") + INSTALLER + " binary file");
        if (!runCaptured("chmod -R +x " + installer)) {
            return operation.failedWithError(VELAERROR_CHANGE_MODE_ERROR, errno, "Changing mode fails");
        }
    }
    return VELAERROR_SUCCESS;
}

int makeImage(BootableISO& builder, const Operation& operation, const std::string& command) {
    announce(builder, {5, STAGE_MAKING_ISO});
    operation.progress(command);
    if (!run(command)) {
        const int code = operation.failed(VELAERROR_MAKE_ISO_ERROR, "Making iso file fails");
        builder.saveFile(CAPTURE_FILE);
        return code;
    }
    return operation.succeeded();
}

} // namespace

int BootableISO::CreateISO(std::string workDir, std::string isoFile, std::vector<std::string>& updateFiles,
                           std::string toolPackage, int platform) {
    m_platform = platform;
    const Operation operation(*m_logger, "BootableISO::CreateISO()");

    announce(*this, {1, STAGE_ISO_TOOLS, STAGE_ISO_TOOLS_ON_CONSOLE});
    if (!endsWithIso(isoFile)) {
        return operation.failed(VELAERROR_ISO_EXTENSION_ERROR, "Iso file does not end with iso extension");
    }
    if (platform != PLATFORM_LINUX && platform != PLATFORM_PPC) {
        return operation.failed(VELAERROR_MAKE_ISO_ERROR,
                                "Platform code " + std::to_string(platform) + " is not supported");
    }
    filterFileList(updateFiles, toolPackage);
    if (updateFiles.empty()) {
        return operation.failed(VELAERROR_NO_UPDATE_FILES,
                                "There is no update files under specified directory after filterring");
    }
    m_workDir = workDir;
    if (const int result = prepare(); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Preparation fails");
    }

    if (chdir(workDir.c_str()) != 0) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Changing working directory fails");
    }
    m_workDirEntered = true;
    operation.note("After changing, current working directory is " + workDir);
    if (!runCaptured("chmod +x *")) {
        return operation.failed(VELAERROR_CHANGE_MODE_ERROR, "Changing mode fails");
    }
    if (!isFileExist(toolPackage)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "There is no tool.zip file");
    }

    if (const int result = unpack(*this, operation, toolPackage); result != VELAERROR_SUCCESS) {
        return result;
    }
    if (const int veto = operation.checkpoint(); veto != 0) {
        return veto;
    }
    if (const int result = stageFiles(*this, operation, updateFiles); result != VELAERROR_SUCCESS) {
        return result;
    }
    const std::string quotedIsoFile = inQuotes(isoFile);
    operation.progress(quotedIsoFile);
    if (!runCaptured("chmod +x " + ISO_DIR_NAME + "/*")) {
        return operation.failed(VELAERROR_CHANGE_MODE_ERROR, "Changing mode fails, after copying operation");
    }

    announce(*this, {4, STAGE_REMOVING});
    for (const Removal& removal : IMAGE_REMOVALS) {
        run(removalCommand(removal, ISO_DIR_NAME));
    }
    return makeImage(*this, operation, isoCommand(platform, quotedIsoFile));
}

} // namespace VelaCreation
