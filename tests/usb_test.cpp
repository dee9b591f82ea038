#include "harness.h"

#include "bootableusb.h"
#include "cloneImage.h"
#include "keyDescription.h"
#include "mediaRules.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <scsi/scsi.h>
#include <sys/ioctl.h>

using namespace VelaCreation;

namespace {

int scsiHost = -1; ///< of every device; none when negative

} // namespace

/// No key is at hand whose SCSI host could be asked for.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
__attribute__((visibility("default"))) int ioctl(int file, unsigned long request, ...) noexcept {
    static const auto real = reinterpret_cast<int (*)(int, unsigned long, ...)>(dlsym(RTLD_NEXT, "ioctl"));
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == SCSI_IOCTL_GET_BUS_NUMBER && scsiHost >= 0) {
        *static_cast<int*>(argument) = scsiHost;
        return 0;
    }
    return real(file, request, argument);
}

namespace {

struct Usb : BootableUSB {
    using BootableUSB::BootableUSB;
    using BootableUSB::m_initialized;
    using BootableUSB::m_usbDevice;
    using BootableUSB::m_workDirEntered;
};

struct UsbTest : JobTest {
    UsbTest() { shell("rm -f /srv/key && rm -f /srv/key4 && truncate -s 1M /srv/key4"); }

    RecordingLogger logger;
    Usb usb{logger};
};

void sweepKey(const std::string& name, bool format) {
    sweep<Usb>(name, [format](Usb& usb) {
        bool initialized = false;
        const int prepared =
            usb.init("/srv/job/work", "/srv/key", {"b c.txt", "dd"}, "tool.zip", initialized);
        EXPECT_EQ(initialized, prepared == 0);
        const int result = prepared == 0 ? usb.CreateUSBKey(format) : prepared;
        EXPECT_EQ(usb.m_initialized, prepared == 0 && result != 0);
        if (recording.failing == 0) {
            shell("cd /srv/job/mounted && test \"$(ls | tr '\\n' ' ')\" = 'b c.txt bsb.msg bsb1.lss "
                  "efibootimg grub.cfg "
                  "img1a.cfg img2a img3a ksrootfs ppc splash.xpm.gz unicode.pf2 ' && test -x 'b c.txt'");
        }
        return result;
    });
}

TEST_F(UsbTest, EveryCommandFails) {
    sweepKey("usb", false);
    sweepKey("usb-formatted", true);
    EXPECT_EQ(contentOf("/srv/key4").substr(43, 7), "MOXBOOT");
}

TEST_F(UsbTest, EveryCommandFailsOnASoftKey) {
    setenv("TALO_SOFT_USBKEY", "soft.img", 1);
    sweepKey("usb-soft", true);
    setenv("TALO_SOFT_USBKEY", "", 1); // no image, but no ordinary key either
    enterFreshJob();
    bool initialized = false;
    EXPECT_EQ(usb.init("work", "/srv/key", {"a.txt"}, "tool.zip", initialized), 0);
    EXPECT_EQ(usb.CreateUSBKey(true), 0);
    unsetenv("TALO_SOFT_USBKEY");
    for (const auto& [command, times] : {std::pair("mount  /mnt/VelaCreationUSBKey -o loop,offset=32256", 1),
                                         {"echo w | sfdisk /srv/key", 0}}) {
        EXPECT_EQ(std::count(recording.events.begin(), recording.events.end(),
                             "$ " + std::string(command) + " >stdout.txt 2>&1"),
                  times);
    }
}

TEST_F(UsbTest, EndsAtWhatIsMissingOrRefused) {
    for (const auto& row : rows("usb-refusals")) {
        usb.m_initialized = true;
        usb.m_workDirEntered = false;
        bool initialized = row[4] != "0"; // written only with true
        EXPECT_EQ(usb.init(row[0], row[1], words(row[2]), row[3], initialized), std::stoi(row[4]));
        EXPECT_EQ(recording.events.back(), row[5]);
        EXPECT_TRUE(initialized);
        EXPECT_EQ(usb.m_initialized, row[4] == "0");
        EXPECT_EQ(usb.m_workDirEntered, std::filesystem::current_path() == "/srv/job/work");
    }
    logger.answer = 5;
    EXPECT_EQ(usb.CreateUSBKey(false), 5);
    shell("mountpoint -q /mnt/VelaCreationUSBKey && test -z \"$(ls /srv/job/mounted)\"");
    logger.answer = 0;
    EXPECT_EQ(usb.CreateUSBKey(false), 100); // a file is missing; what came before it is on the key
    shell("test -f /srv/job/mounted/a.txt && touch late");
    EXPECT_EQ(usb.CreateUSBKey(false), 0);
    EXPECT_EQ(usb.CreateUSBKey(false), 110);
    EXPECT_EQ(recording.events.back(), "0 It is not initialized. In BootableUSB::CreateUSBKey()");
}

TEST_F(UsbTest, PutsSizesAndNamesIntoWords) {
    const ForeignNumbers numbers;
    for (const auto& row : rows("sizes")) {
        EXPECT_EQ(sizeText(static_cast<std::uint32_t>(std::stoul(row[0]))), row[1]);
    }
    for (const char* path : {"/dev/sdb", "/dev/sdb/", "sdb"}) {
        EXPECT_EQ(deviceName(path), "sdb");
    }
}

template <typename Bytes>
std::string hex(const Bytes& bytes) {
    std::string text;
    for (const auto byte : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4U];
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15U];
    }
    return text;
}

TEST_F(UsbTest, FitsCloneImages) {
    for (const auto& row : rows("clone-images")) {
        const std::int64_t capacity = std::stoll(row[0]);
        EXPECT_EQ(cloneImageFor(capacity), row[1]) << capacity;
        EXPECT_EQ(hex(lastSectorAddress(capacity, {255, 63})), row[2]) << capacity;
        EXPECT_EQ(totalSectorsOffset(capacity - 63), std::stol(row[3], nullptr, 16)) << capacity;
    }
}

TEST_F(UsbTest, FindsTheVendorInTheKernelsList) {
    std::string vendor = "old";
    std::string model = "old";
    const ForeignNumbers numbers;
    EXPECT_EQ(usb.getVendorModel("/srv/gone", vendor, model), -1);
    EXPECT_LT(usb.getVendorModel("/srv/key4", vendor, model), 0);
    EXPECT_EQ(vendor + model, "");
    for (const auto& row : rows("scsi-lists")) {
        whileEmpty("/proc", [&] {
            std::filesystem::create_directory("/proc/scsi");
            std::ofstream("/proc/scsi/scsi") << row[1];
            scsiHost = std::stoi(row[0]);
            EXPECT_EQ(usb.getVendorModel("/srv/key4", vendor, model), 0);
            scsiHost = -1;
        });
        EXPECT_EQ(vendor + "/" + model, row[2]) << row[1];
    }
    EXPECT_EQ(recording.events, Lines{});
}

TEST_F(UsbTest, DescribesAKey) {
    _USBDATA data{"kept", "kept", "kept"};
    errno = EACCES;
    EXPECT_EQ(usb.getUSBData("", &data), 101);
    EXPECT_EQ(recording.events.back(),
              "0 Getting usb key name fails, and last error message is Permission denied. "
              "In BootableUSB::getUSBData()");
    EXPECT_EQ(data.vendor + data.model + data.size, "keptkeptkept");
    const ForeignNumbers numbers;
    for (const auto& row : rows("sysfs")) {
        whileEmpty("/sys", [&] {
            shell("mkdir -p /sys/block/key4/device && cd /sys/block/key4/device && " + row[0]);
            data = {};
            recording.events.clear();
            EXPECT_EQ(usb.getUSBData("/srv/key4", &data), 0);
        });
        EXPECT_EQ(data.vendor + "/" + data.model + "/" + data.size, row[1]);
    }
    EXPECT_EQ(recording.events.at(1),
              "0 Can't get manufacturer and model info. In BootableUSB::getUSBData()");
}

std::string bytesOf(const std::string& path, std::size_t offset, std::size_t count) {
    return hex(contentOf(path).substr(offset, count));
}

void patch(const std::string& path, int offset, const std::string& bytes) {
    shell("printf '" + bytes + "' | dd of=" + path +
          " bs=1 conv=notrunc status=none seek=" + std::to_string(offset));
}

/// With a geometry of 255 heads and 63 sectors, and the partition at sector 63.
void makeImages() {
    for (const char* image : {"init1.img", "init8.img"}) {
        shell(std::string("rm -f ") + image + " && truncate -s 40000 " + image);
        patch(image, 499, R"(\376\077\377\077)");
    }
}

/// A loop device of a number of sectors, under the name of the key.
struct Key {
    explicit Key(std::int64_t sectors) {
        shell("rm -f /srv/key && truncate -s " + std::to_string(sectors * 512) +
              " /srv/disk && "
              "ln -s $(losetup -f --show /srv/disk) /srv/key");
    }
    ~Key() { shell("losetup -d $(readlink /srv/key) && rm /srv/disk"); }
};

struct BootCheckTest : UsbTest {
    BootCheckTest() {
        makeImages();
        usb.m_usbDevice = "/srv/key";
    }
    void SetUp() override { NEEDS_ROOT("loop devices"); }

    void expectEnd(int result, const std::string& message) {
        for (const bool before : {false, true}) {
            bool format = before;
            EXPECT_EQ(usb.isBootable(format), result);
            EXPECT_EQ(format, before);
            EXPECT_EQ(recording.events.back(), "0 " + message + ". In BootableUSB::isBootable()");
        }
    }
};

TEST_F(BootCheckTest, EveryCommandFails) {
    const Key key(15633408);
    patch("/srv/disk", 499, R"(\042\325\315\077)");
    patch("/srv/disk", 0x1FA, R"(\301\213\356)");
    sweep<Usb>("check", [](Usb& checked) {
        makeImages();
        shell("touch mounted/img1a.sys");
        checked.m_usbDevice = "/srv/key";
        bool format = true;
        const int result = checked.isBootable(format);
        EXPECT_FALSE(format);
        return result;
    });
}

TEST_F(BootCheckTest, AdjustsTheImageAgainAndAgain) {
    bool format = false;
    const auto comparison = [&] {
        const ForeignNumbers numbers;
        recording.events.clear();
        format = false;
        EXPECT_EQ(usb.isBootable(format), 0);
        EXPECT_TRUE(format);
        return recording.events.at(3);
    };
    {
        const Key key(15633408);
        shell("touch mounted/img1a.sys");
        EXPECT_EQ(comparison(), "2 buf[1f3](0) != buf2[1f3](22)\n");
        EXPECT_EQ(bytesOf("init8.img", 499, 4) + bytesOf("init8.img", 0x1FA, 4) +
                      bytesOf("init8.img", 0x7E20, 4),
                  "22d5cd3fc18bee00c18bee00");
        shell("dd if=init8.img of=/srv/disk bs=512 count=1 conv=notrunc status=none");
        patch("/srv/disk", 0x1FE, "U");
        EXPECT_EQ(comparison(), "2 buf[1fe](55) != buf2[1fe](0)\n"); // the same key, once more
        patch("/srv/disk", 0x1FE, R"(\0)");
        shell("rm mounted/img1a.sys");
        EXPECT_EQ(comparison(), "2 BootableUSB::unMountUsb() starts"); // only the boot file is missing
    }
    {
        const Key larger(31266816);
        comparison();
        EXPECT_EQ(bytesOf("init8.img", 499, 4), "44ea9b3f");
        makeImages(); // unpacked anew, with a geometry of its own: 16 heads, 32 sectors
        patch("init8.img", 499, R"(\017\340)");
        comparison();
        EXPECT_EQ(bytesOf("init8.img", 499, 4), "0fa0bb3f");
    }
    const Key hundredCylinders(1606500);
    patch("init1.img", 502, " "); // the partition at sector 32
    comparison();
    EXPECT_EQ(bytesOf("init1.img", 499, 4) + bytesOf("init1.img", 0x4020, 4), "fe3f632044831800");
}

TEST_F(BootCheckTest, SaysWhatCannotBeReadOrAdjusted) {
    const std::string last = ", and last error message is ";
    expectEnd(101, "Opening usb key fails" + last + "No such file or directory");
    shell("truncate -s 511 /srv/key");
    errno = EPROTO; // a short read has no error of its own
    expectEnd(101, "Reading usb key sector fails" + last + "Protocol error");
    shell("truncate -s 512 /srv/key");
    expectEnd(101, "Getting usb capacity fails" + last + "Inappropriate ioctl for device");

    const Key key(15633408);
    EXPECT_EQ(usb.getUSBCapacity("/srv/key"), 15633408U);
    EXPECT_EQ(usb.getUSBCapacity("/srv/key4"), 0xFFFFFFFFU);
    patch("init8.img", 500, R"(\300)");
    const std::string content = contentOf("init8.img");
    expectEnd(101, "Reading CLONE_FILE fails" + last + "Invalid argument");
    EXPECT_EQ(contentOf("init8.img"), content);
    shell("truncate -s 502 init8.img");
    expectEnd(101, "Reading CLONE_FILE fails" + last + "Invalid argument");
    EXPECT_EQ(contentOf("init8.img"), content.substr(0, 502));
    makeImages();
    shell("mkdir full && mount -t tmpfs -o size=4k none full && cp --sparse=always init8.img full && ln -sf "
          "full/init8.img .");
    expectEnd(101, "Reading CLONE_FILE fails" + last + "No space left on device");
    shell("mount -o remount,ro full");
    expectEnd(100, "Opening CLONE_FILE fails" + last + "Read-only file system");
    shell("umount full && rm init8.img");
    expectEnd(100, "Opening CLONE_FILE fails" + last + "No such file or directory");
}

} // namespace
