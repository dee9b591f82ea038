#include "commands/scratch.h"

#include "support/failure.h"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

ScratchDirectory::ScratchDirectory(const std::string& chosen, const Surroundings& surroundings) {
    const auto& preset = surroundings.temporaryDirectory;
    m_path = absolutePath(!chosen.empty() ? chosen : !preset.empty() ? preset : "/var/tmp");
    m_directory = Descriptor(open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_directory.isOpen() || faccessat(m_directory.number(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw Refusal(withError("no workplace can be made in " + shown(m_path)));
    }
}

std::string absolutePath(const std::string& path) {
    std::error_code error;
    auto absolute = std::filesystem::canonical(path, error).string();
    if (error) {
        throw Refusal(shown(path) + ": " + error.message());
    }
    return absolute;
}

} // namespace velacreate
