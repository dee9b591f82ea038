#include "network/namedPipe.h"

#include "support/failure.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace velacreate {

NamedPipe::NamedPipe() {
    constexpr mode_t WRITABLE = S_IRUSR | S_IWUSR | S_IWGRP | S_IWOTH;
    const Descriptor context(fsopen("tmpfs", FSOPEN_CLOEXEC));
    check(context.isOpen() && fsconfig(context.number(), FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) == 0)
        .orFail("no file system for a log");
    m_fileSystem = Descriptor(fsmount(context.number(), FSMOUNT_CLOEXEC, 0));
    // It is opened for writing, too, so that there is always a writer.
    check(m_fileSystem.isOpen() && mkfifoat(m_fileSystem.number(), NAME, 0) == 0 &&
          fchmodat(m_fileSystem.number(), NAME, WRITABLE, 0) == 0)
        .orFail("no pipe for a log");
    m_reader = openBeneath(m_fileSystem.number(), NAME, O_RDWR | O_NONBLOCK);
    check(m_reader.isOpen()).orFail("the pipe of a log");
}

} // namespace velacreate
