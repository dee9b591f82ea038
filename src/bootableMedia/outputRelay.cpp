#include "bootableMedia.h"

#include "keepErrno.h"
#include "operation.h"

#include <fstream>

namespace VelaCreation {

namespace {

// The read that meets the end of the file counts as one more, empty, line.
template <typename Use>
void forEachLine(std::istream& file, Use use) {
    while (!file.fail()) {
        std::string line;
        std::getline(file, line);
        use(line);
    }
}

} // namespace

void BootableMedia::writeFileToLog(std::string path) {
    const KeepErrno keepErrno;
    std::ifstream file(path);
    forEachLine(file, [this](const std::string& line) { log(*m_logger, LEVEL_PROGRESS, line); });
}

void BootableMedia::saveFile(std::string path) {
    const KeepErrno keepErrno;
    std::fstream file(path, std::ios::in);
    forEachLine(file, [this](const std::string& line) {
        if (!line.empty()) {
            log(*m_logger, LEVEL_FAILURE, line);
        }
    });
}

} // namespace VelaCreation
