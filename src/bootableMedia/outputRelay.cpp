#include "bootableMedia.h"

#include "keepErrno.h"
#include "operation.h"

#include <fstream>

namespace VelaCreation {

namespace {

// A large capture takes a tenth longer to read by the stream's own buffer of eight KiB.
constexpr std::streamsize BUFFER_SIZE = 0x10000;

// The read that meets the end of the file counts as one more, empty, line.
template <typename Use>
void forEachLine(const std::string& path, Use use) {
    std::vector<char> buffer(BUFFER_SIZE);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), BUFFER_SIZE); // heeded only while no file is open
    file.open(path);
    std::string line;
    while (!file.fail()) {
        line.clear(); // the last read leaves it as it was
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
