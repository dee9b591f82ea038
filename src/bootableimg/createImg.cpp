#include "bootableimg.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "stage.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace VelaCreation {

namespace {

int unpack(BootableIMG& builder, const Operation& operation, const std::string& toolPackage) {
    if (!runCaptured("chmod +x *")) {
        return operation.failed(VELAERROR_CHANGE_MODE_ERROR, "Changing mode fails");
    }
    if (!builder.isFileExist(toolPackage)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "There is no tool.zip file");
    }
    if (!runCaptured(BootableMedia::MINIUNZ_TOOL_NAME + " -xo " + toolPackage)) {
        return operation.failed(VELAERROR_UNZIP_ERROR, "Unzipping fails");
    }
    if (!builder.createDirectory(BootableMedia::ISO_DIR_NAME)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_CREATE_ERROR, "Creating ISO_DIR_NAME directory fails");
    }
    return VELAERROR_SUCCESS;
}

int packArchive(BootableIMG& builder, const Operation& operation, const std::string& pxeDir) {
    const std::string command = "cd " + BootableMedia::ISO_DIR_NAME + " && " + BootableMedia::ZIP_TOOL_NAME +
                                " -r " + inQuotes(pxeDir + "/" + NETBOOT_ARCHIVE_STEM) + " * >../" +
                                CAPTURE_FILE + " 2>&1 && cd ..";
    operation.progress(command);
    announce(builder, {5, STAGE_ZIPPING});
    const bool zipped = run(command);
    builder.writeFileToLog(CAPTURE_FILE);
    if (!zipped) {
        return operation.failed(VELAERROR_ZIP_ERROR, "BootableIMG::Zipping file failed");
    }
    return operation.succeeded();
}

} // namespace

int BootableIMG::CreateIMG(std::string workDir, std::string pxeDir, std::vector<std::string>& updateFiles,
                           std::string toolPackage) {
    const Operation operation(*m_logger, "BootableIMG::CreateIMG()");

    filterFileList(updateFiles, toolPackage);
    if (updateFiles.empty()) {
        return operation.failed(VELAERROR_NO_UPDATE_FILES,
                                "There is no update files under specified directory after filterring");
    }
    m_workDir = workDir;
    prepare();

    announce(*this, {2, STAGE_EXTRACTING});
    if (chdir(m_workDir.c_str()) != 0) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Changing working directory fails");
    }
    m_workDirEntered = true;
    operation.note("After changing, current working directory is " + m_workDir);
    // The archive is made in the staging directory, where a relative path would lead to another place. An
    // empty path stays empty, and creating its directory fails.
    std::error_code ignored;
    pxeDir = std::filesystem::absolute(pxeDir, ignored).string();
    if (const int result = unpack(*this, operation, toolPackage); result != VELAERROR_SUCCESS) {
        return result;
    }
    if (const int veto = operation.checkpoint(); veto != 0) {
        return veto;
    }

    announce(*this, {3, STAGE_COPYING_PXE});
    if (const int result = copyFiles(BOOT_FILE, ISO_DIR_NAME, {}); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying BOOT_FILE directory fails");
    }
    if (const int result = copyFiles("", ISO_DIR_NAME, updateFiles); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying source file list fails");
    }
    if (!createDirectory(pxeDir)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_CREATE_ERROR, "Creating pxeDir directory fails");
    }
    for (const char* bootFile : NETBOOT_FILES) {
        runCaptured("cp -rf " + BOOT_FILE + "/" + bootFile + " " + inQuotes(pxeDir));
    }

    announce(*this, {4, STAGE_REMOVING});
    for (const Removal& removal : ARCHIVE_REMOVALS) {
        runCaptured(removalCommand(removal, ISO_DIR_NAME));
    }
    return packArchive(*this, operation, pxeDir);
}

} // namespace VelaCreation
