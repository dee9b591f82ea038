#include "station/deviceNews.h"

#include "support/failure.h"

#include <cerrno>

#include <unistd.h>

namespace velacreate {
namespace {
const char* source() {
    return access("/run/udev/control", F_OK) == 0 ? "udev" : "kernel";
}
} // namespace

DeviceNews::DeviceNews()
    : m_udev(udev_new(), udev_unref),
      m_monitor(m_udev ? udev_monitor_new_from_netlink(m_udev.get(), source()) : nullptr,
                udev_monitor_unref) {
    check(m_monitor &&
          udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "block", nullptr) >= 0 &&
          udev_monitor_enable_receiving(m_monitor.get()) >= 0)
        .orFail("no news of disks can be had");
}

// When news were lost, none come, but an error.
bool DeviceNews::take() const {
    errno = 0;
    bool isNew = false;
    while (auto* const device = udev_monitor_receive_device(m_monitor.get())) {
        udev_device_unref(device);
        isNew = true;
    }
    return isNew || errno == ENOBUFS;
}

} // namespace velacreate
