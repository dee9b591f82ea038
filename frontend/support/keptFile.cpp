#include "support/keptFile.h"

#include "support/failure.h"

#include <cerrno>

#include <fcntl.h>

namespace velacreate {

Descriptor openToAdd(const std::string& kind, const std::string& path) {
    constexpr mode_t READABLE = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const std::string what = kind + " " + quote(path);
    Descriptor file(open(path.c_str(),
                         O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                         READABLE));
    if (!file.isOpen()) {
        throw Refusal(errno == ELOOP ? what + " is a link" : SystemError().about(what));
    }
    const mode_t mode = file.status().st_mode;
    if (!S_ISREG(mode) && !S_ISCHR(mode)) {
        throw Refusal(what + " is no file");
    }
    return file;
}

} // namespace velacreate
