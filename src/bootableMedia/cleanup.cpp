#include "bootableMedia.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"

namespace VelaCreation {

namespace {

/// At the beginning, "~" means a home directory, "#" a comment and "-" an option.
bool isSingleShellWord(const std::string& entry) {
    return entry.find_first_of("~#-") != 0 &&
           entry.find_first_of(" \t\n\v\f\r'\"\\;&|<>()$`") == std::string::npos;
}

} // namespace

void BootableMedia::removeTempFilesAndDirs() {
    if (!m_workDirEntered) {
        return;
    }
    for (const std::string& name : workingDirectories()) {
        run("rm -rf " + name);
    }
    for (const std::string& name : workingFiles()) {
        runCaptured("rm -f " + name);
    }
    run(std::string("rm -f ") + CAPTURE_FILE);
    m_workDirEntered = false;
}

void BootableMedia::removeTempFilesAndDirs(std::vector<std::string> extra) {
    if (!m_workDirEntered) {
        return;
    }
    for (const std::string& entry : extra) {
        if (entry.empty()) {
            continue;
        }
        if (!isSingleShellWord(entry)) {
            log(*m_logger, LEVEL_FAILURE,
                "Not removing " + entry +
                    ", which is not a single shell word. In BootableMedia::removeTempFilesAndDirs()");
            continue;
        }
        run("rm -rf " + entry);
    }
    removeTempFilesAndDirs();
}

} // namespace VelaCreation
