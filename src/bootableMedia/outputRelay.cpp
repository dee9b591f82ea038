#include "bootableMedia.h"

#include "keepErrno.h"
#include "operation.h"

#include <fstream>

namespace VelaCreation {

namespace {

// With the stream's default buffer of 8 KiB, reading a large capture takes 10 percent longer.
constexpr std::streamsize BUFFER_SIZE = 0x10000;

// The read at the end of the file yields one more, empty line.
template <typename Use>
void forEachLine(const std::string& path, Use use) {
    std::vector<char> buffer(BUFFER_SIZE);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), BUFFER_SIZE); // has an effect only before a file is opened
    file.open(path);
    std::string line;
    while (!file.fail()) {
        line.clear(); // the last read does not change it
        std::getline(file, line);
        use(line);
    }
}

} // namespace

void BootableMedia::writeFileToLog(std::string path) {
    const KeepErrno keepErrno;
    forEachLine(path, [this](const std::string& line) { log(*m_logger, LEVEL_PROGRESS, line); });
}

void BootableMedia::saveFile(std::string path) {
    const KeepErrno keepErrno;
    forEachLine(path, [this](const std::string& line) {
        if (!line.empty()) {
            log(*m_logger, LEVEL_FAILURE, line);
        }
    });
}

} // namespace VelaCreation
