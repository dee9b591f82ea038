#include "commands/scratch.h"

#include "support/failure.h"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

ScratchDirectory::ScratchDirectory(const std::string& chosen, const CallerEnvironment& caller) {
    const auto& preset = caller.temporaryDirectory;
    m_path = absolutePath(!chosen.empty() ? chosen : !preset.empty() ? preset : "/var/tmp");
    m_directory = Descriptor(open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_directory.isOpen() || faccessat(m_directory.number(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw Refusal(SystemError().about("no job directory can be made in " + quote(m_path)));
    }
}

std::string absolutePath(const std::string& path) {
    std::error_code error;
    auto absolute = std::filesystem::canonical(path, error).string();
    if (error) {
        throw Refusal(quote(path) + ": " + error.message());
    }
    return absolute;
}

} // namespace velacreate
