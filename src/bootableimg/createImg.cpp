#include "bootableimg.h"

#include "operation.h"
#include "shell.h"
#include "stage.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace VelaCreation {

namespace {

// Each is followed by the quoted output directory, hence the blank at the end.
constexpr const char* BOOT_FILES[] = {
    "boot/grub.cfg ", "boot/img2a ",   "boot/img3a ",       "boot/pxelinux.0 ",    "boot/ksrootfs ",
    "boot/bsb1.lss ", "boot/bsb.msg ", "boot/unicode.pf2 ", "boot/splash.xpm.gz ",
};

// What the archive goes without. Not the reverse of the list above: grub.cfg stays, and so do directories
// that are removed without -r.
struct Removal {
    const char* command;
    const char* path;
};
constexpr Removal REMOVALS[] = {
    {"rm -rf ", "/pxelinux.cfg"}, {"rm -f ", "/img2a"},        {"rm -f ", "/img3a"},
    {"rm -f ", "/pxelinux.0"},    {"rm -f ", "/isolinux.bin"}, {"rm -f ", "/img1a.cfg"},
    {"rm -f ", "/ksrootfs"},      {"rm -f ", "/bsb1.lss"},     {"rm -f ", "/bsb.msg"},
    {"rm -f ", "/splash.xpm.gz"}, {"rm -f ", "/unicode.pf2"},  {"rm -f ", "/efibootimg"},
    {"rm -f ", "/boot"},          {"rm -f ", "/EFI"},
};

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
                                " -r " + inQuotes(pxeDir + "/ks") + " * >../" + CAPTURE_FILE +
                                " 2>&1 && cd ..";
    operation.progress(command);
    announce(builder, {5, "Zipping files"});
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

    announce(*this, {2, "Extracting files to working directory"});
    if (chdir(m_workDir.c_str()) != 0) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Changing working directory fails");
    }
    m_workDirEntered = true;
    operation.note("After changing, current working directory is " + m_workDir);
    // The archive is made from inside the staging directory, where a relative path would name another place.
    // An empty one stays empty, and fails when it is to be made.
    std::error_code ignored;
    pxeDir = std::filesystem::absolute(pxeDir, ignored).string();
    if (const int result = unpack(*this, operation, toolPackage); result != VELAERROR_SUCCESS) {
        return result;
    }
    if (const int veto = operation.checkpoint(); veto != 0) {
        return veto;
    }

    announce(*this, {3, "Copying files to PXE directory"});
    if (const int result = copyFiles(BOOT_FILE, ISO_DIR_NAME, {}); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying BOOT_FILE directory fails");
    }
    if (const int result = copyFiles("", ISO_DIR_NAME, updateFiles); result != VELAERROR_SUCCESS) {
        return operation.failed(result, "Copying source file list fails");
    }
    if (!createDirectory(pxeDir)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_CREATE_ERROR, "Creating pxeDir directory fails");
    }
    for (const char* bootFile : BOOT_FILES) {
        runCaptured(std::string("cp -rf ") + bootFile + inQuotes(pxeDir));
    }

    announce(*this, {4, "Removing temporary files"});
    for (const Removal& removal : REMOVALS) {
        runCaptured(removal.command + ISO_DIR_NAME + removal.path);
    }
    return packArchive(*this, operation, pxeDir);
}

} // namespace VelaCreation
