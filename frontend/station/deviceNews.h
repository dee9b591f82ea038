/// @file
/// News of the kernel about disks.
#pragma once

#include <memory>

#include <libudev.h>

namespace velacreate {

/// News only say that it is time to look again: they can be lost, late or repeated. They come from udevd
/// where it runs, because it has then finished with a disk; else from the kernel.
class DeviceNews {
public:
    /// @throw Failure
    DeviceNews();

    /// Readable when there are news.
    int descriptor() const { return udev_monitor_get_fd(m_monitor.get()); }

    /// To be called before the disks are looked at.
    /// @return whether there were any
    bool take() const;

private:
    std::unique_ptr<udev, decltype(&udev_unref)> m_udev;
    std::unique_ptr<udev_monitor, decltype(&udev_monitor_unref)> m_monitor;
};

} // namespace velacreate
