#include "loop.h"
#include "station/slots.h"
#include "station/stickWork.h"
#include "support/texts.h"

using namespace velacreate;

namespace {

struct StationTest : JobTest {};

std::string slotsIn(const std::string& path) {
    const Slots read(path);
    Lines slots;
    for (const auto& slot : read.all()) {
        slots.push_back(slot.name + ": " + joined(slot.ports, " "));
    }
    return joined(slots, "; ");
}

} // namespace

/// Each row: a slots file, and what it means or why it is refused. The machine has two controllers, and the
/// first one a bus for USB 2 and one for USB 3; a hub is in their first socket.
TEST_F(StationTest, SlotsFiles) {
    whileEmpty("/sys/bus", [] {
        whileEmpty("/sys/devices", [] {
            shell(
                "mkdir -p /sys/bus/usb/devices; hub() { at=/sys/devices/pci0000:00/0000:00:$1; shift\n"
                "at=$at/$1; [ $# -lt 4 ] || echo $4 | install -D /dev/stdin $at/maxchild\n"
                "ln -s $at /sys/bus/usb/devices; mkdir -p $at/$2/$3; ln -sn $at/$2 /sys/bus/usb/devices; }\n"
                "hub 1a.0 usb1 1-0:1.0 usb1-port1 2; hub 14.0 usb2 2-0:1.0 usb2-port4 4\n"
                "hub 14.0 usb3 3-0:1.0 usb3-port4 4; hub 14.0 2-1 2-1:1.0 2-1-port2; hub 14.0 3-1 3-1:1.0 "
                "3-1-port2\n"
                "cd /sys/bus/usb/devices\n"
                "peers() { ln -s $(realpath $2) $1/peer; ln -s $(realpath $1) $2/peer; }\n"
                "peers usb2/2-0:1.0/usb2-port4 usb3/3-0:1.0/usb3-port4\n"
                "peers 2-1/2-1:1.0/2-1-port2 3-1/3-1:1.0/3-1-port2");
            expectText(outcomeOf([] { return slotsIn("gone"); }),
                       "refused: the slots file 'gone': No such file or directory");
            for (const auto& row : rows("slots")) {
                SCOPED_TRACE(row[0]);
                std::ofstream("slots") << row[0];
                expectText(outcomeOf([] { return slotsIn("slots"); }), row[1]);
            }
        });
    });
}

TEST_F(StationTest, SizesInWords) {
    for (const auto& row : rows("size-words")) {
        const auto size = sizeIn(row[0]);
        EXPECT_EQ(size ? std::to_string(*size) : "none", row[1]) << row[0];
    }
}

/// Each row: what is done to a blank disk, and what it is then.
TEST_F(DisksTest, BlankSticks) {
    for (const auto& row : rows("blank-sticks")) {
        prepare("rm -f disk; truncate -s 16M disk; " + row[0]);
        const Loop loop("disk");
        EXPECT_EQ(isBlank(opened(loop.node())) ? "blank" : "used", row[1]) << row[0];
    }
}
