#include "disks/loopDevice.h"

#include "support/failure.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>

namespace velacreate {

Descriptor attachLoopDevice(const Descriptor& file, const ByteRange& part) {
    loop_config config{};
    config.fd = static_cast<std::uint32_t>(file.number());
    config.info.lo_offset = part.offset;
    config.info.lo_sizelimit = part.size;
    config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
    const Descriptor control(open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    check(control.isOpen()).orFail("/dev/loop-control");
    for (;;) {
        const int number = ioctl(control.number(), LOOP_CTL_GET_FREE);
        check(number >= 0).orFail("no free loop device");
        const auto node = "/dev/loop" + std::to_string(number);
        Descriptor loop(open(node.c_str(), O_RDWR | O_CLOEXEC));
        check(loop.isOpen()).orFail(node);
        if (ioctl(loop.number(), LOOP_CONFIGURE, &config) == 0) {
            return loop;
        }
        check(errno == EBUSY).orFail(node); // another program was faster
    }
}

} // namespace velacreate
