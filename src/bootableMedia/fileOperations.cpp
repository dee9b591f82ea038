#include "bootableMedia.h"

#include "operation.h"
#include "shell.h"

#include <cstdio>

#include <sys/stat.h>

namespace VelaCreation {

namespace {

bool exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

} // namespace

bool BootableMedia::isFileExist(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr) {
        return false;
    }
    static_cast<void>(std::fclose(file));
    return true;
}

bool BootableMedia::isDirExists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool BootableMedia::copyFile(const std::string& name, const std::string& destDir) {
    if (!isFileExist(name)) {
        return false;
    }
    return runCaptured("cp -rf " + name + " " + inQuotes(destDir) + FILE_SEPERATOR + name);
}

bool BootableMedia::copyDir(const std::string& srcDir, const std::string& destDir) {
    runCaptured("unalias cp");
    const std::string command = captured("cp -fr " + srcDir + "/* " + destDir);
    if (!run(command)) {
        log(*m_logger, LEVEL_FAILURE, "system(cmd) failed " + command);
        return false;
    }
    return true;
}

int BootableMedia::copyFiles(const std::string& srcDir, const std::string& destDir,
                             const std::vector<std::string>& files) {
    const auto warn = [this](const std::string& message) { log(*m_logger, LEVEL_FAILURE, message); };

    bool copied = true;
    if (files.empty()) {
        copied = copyDir(srcDir, destDir);
    }
    for (const std::string& entry : files) {
        if (entry.empty()) {
            continue;
        }
        if (!isFileExist(entry)) {
            warn("BootableMedia::copyFiles. file not found: " + entry);
            return VELAERROR_FILE_OR_DIR_NOT_FOUND;
        }
        const std::string target = isDirExists(entry) ? destDir : destDir + FILE_SEPERATOR + entry;
        const std::string parent = target.substr(0, target.rfind('/') + 1);
        if (!parent.empty() && !exists(parent)) {
            warn("to create parent dir:" + parent);
            if (!run("mkdir -p " + parent)) {
                warn("create parent dir failed");
            }
        }
        const std::string command = captured("cp -rf  " + inQuotes(entry) + " " + inQuotes(target));
        copied = run(command);
        if (!copied) {
            warn("BootableMedia::copyFiles. system(cmd) error " + command);
            break;
        }
    }
    if (!copied) {
        warn("BootableMedia::copyFiles. return VELAERROR_FILE_OR_DIR_CREATE_ERROR ");
        return VELAERROR_FILE_OR_DIR_CREATE_ERROR;
    }
    return VELAERROR_SUCCESS;
}

bool BootableMedia::createDirectory(const std::string& path) {
    static const std::string rmCmd = "rm -rf ";
    static const std::string mkCmd = "mkdir ";
    runCaptured(rmCmd + inQuotes(path));
    return runCaptured(mkCmd + inQuotes(path));
}

} // namespace VelaCreation
