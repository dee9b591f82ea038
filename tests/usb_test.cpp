#include "harness.h"

#include "bootableusb.h"
#include "cloneImage.h"
#include "keyDescription.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <scsi/scsi.h>
#include <sys/ioctl.h>

using namespace VelaCreation; // NOLINT(google-build-using-namespace)

namespace {

int scsiHost = -1; ///< of every device; none when negative

}

/// No key is at hand whose SCSI host could be asked for.
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

class Usb : public BootableUSB {
public:
    using BootableUSB::BootableUSB;
    using BootableUSB::m_cloneFile;
    using BootableUSB::m_initialized;
    using BootableUSB::m_usbDevice;
};

const std::string UNMOUNT = R"(
2 BootableUSB::unMountUsb() starts
$ umount /srv/key >>
$ umount /srv/key1 >>
$ umount /srv/key2 >>
$ umount /srv/key3 >>
$ umount /srv/key4 >>
$ umount /mnt/VelaCreationUSBKey >>
$ umount /mnt >>
2 BootableUSB::unMountUsb() ends successfully
)";
const std::string MOUNT = R"(
2 BootableUSB::mountUsb() starts
$ rm -rf "/mnt/VelaCreationUSBKey" >>
$ mkdir "/mnt/VelaCreationUSBKey" >>
$ mount /srv/key4 /mnt/VelaCreationUSBKey >>
2 BootableUSB::mountUsb() ends successfully
)";
const std::string PREPARED = R"(
2 BootableUSB::init() starts
# 1 Copying tools for bootable USB key creation| Copying tools for bootable USB key creation...
~ 10
2 After changing, current working directory is /srv/job/work. In BootableUSB::init()
$ chmod +x * >>
# 2 Extracting files to working directory| Extracting files to working directory...
~ 10
$ unzip -xo tool.zip >>
2 BootableUSB::init() ends successfully
2 BootableUSB::CreateUSBKey() starts
)";
const std::string FORMATTED = R"(
# 3 Formatting USB key| Formatting USB key...
~ 10
2 BootableUSB::doDD() starts
)" + UNMOUNT + "$ mkfs -t vfat /srv/key4 -nMOXBOOT >>\n";
const std::string TABLE_SHOWN = R"(
$ echo w | sfdisk /srv/key >>
2 make sure there is /dev/sdx4: echo w | sfdisk /srv/key >>
0 table
~ 5
$ ls -la /srv/key4 >>
2 ls -la /srv/key4 >>
0 node
)";
const std::string FORMAT_END = "2 BootableUSB::doDD() ends successfully\n";
const std::string SOFT_MOUNT = R"(
$ mount soft.img /mnt/VelaCreationUSBKey -o loop,offset=32256 >>
2 BootableUSB::CreateUSBKey:TALO_SOFT_USBKEY, cmd=mount soft.img /mnt/VelaCreationUSBKey -o loop,offset=32256 >>
)";
const std::string FILLED = R"(
6 Before copying boot directory of tool.zip to temp directory.
# 4 Copying files to working directory| Copying files to working directory...
~ 10
$ unalias cp >>
$ cp -fr boot/* /mnt/VelaCreationUSBKey >>
$ rm -rf /mnt/VelaCreationUSBKey/pxelinux.cfg
$ rm -f /mnt/VelaCreationUSBKey/pxelinux.0
$ rm -f /mnt/VelaCreationUSBKey/boot.catalog
$ rm -f /mnt/VelaCreationUSBKey/isolinux.bin
# 5 Copying files to USB key| Copying files to USB key...
~ 10
$ cp -rf  "b c.txt" "/mnt/VelaCreationUSBKey/b c.txt" >>
$ chmod +x /mnt/VelaCreationUSBKey/* >>
)" + UNMOUNT + "2 BootableUSB::CreateUSBKey() ends successfully\n";

const std::string ERROR = ", and last error message is No space left on device. In BootableUSB::";
const std::string INIT = ". In BootableUSB::init()";
const Lines MOUNT_FAILED = {"0 Mounting usb fails" + ERROR + "CreateUSBKey()", "0 broken"};

std::vector<Failure> failuresOf(bool isSoft) {
    const std::string mkfs = "mkfs -t vfat /srv/key4 -nMOXBOOT >stdout.txt 2>&1";
    const std::string bootCopy = "cp -fr boot/* /mnt/VelaCreationUSBKey >stdout.txt 2>&1";
    const std::string fileCopy = "cp -rf  \"b c.txt\" \"/mnt/VelaCreationUSBKey/b c.txt\" >stdout.txt 2>&1";
    const std::string copyFailed = "0 BootableMedia::copyFiles. return VELAERROR_FILE_OR_DIR_CREATE_ERROR ";
    const Lines noMountPoint = {"0 Creating MOUNT_POINT directory fails" + ERROR + "mountUsb()"};
    const Lines noMount = {"0 Mount usb key fails" + ERROR + "mountUsb()"};
    // The soft key's mount decides alone.
    const auto mountFailure = [&](const std::string& command, const Lines& events, std::size_t replaced) {
        return isSoft ? Failure{command, 0, events, replaced} : Failure{command, 101, events + MOUNT_FAILED};
    };
    return {
        {"chmod +x *", 107, {"0 Changing mode fails 1" + INIT}},
        {"unzip", 102, {"0 Unzipping fails" + INIT}},
        {"mkfs",
         104,
         {"0 \"" + mkfs +
              "\" fails, and last error message isNo space left on device. In BootableUSB::doDD()",
          "0 broken", "0 Doing dd function fails" + ERROR + "CreateUSBKey()"}},
        {"echo w",
         0,
         {"2 make sure there is /dev/sdx4: echo w | sfdisk /srv/key >stdout.txt 2>&1", "0 broken"},
         2},
        {"ls -la", 0, {"2 ls -la /srv/key4 >stdout.txt 2>&1", "0 broken"}, 2},
        mountFailure("mkdir", noMountPoint, 2),
        mountFailure("mount /srv/key4", noMount, 1),
        {"mount soft", 101, Lines{events(SOFT_MOUNT).back()} + MOUNT_FAILED},
        {bootCopy,
         106,
         {"0 system(cmd) failed " + bootCopy, copyFailed,
          "0 Copying BOOT_FILE directory fails" + ERROR + "CreateUSBKey()"}},
        {fileCopy,
         106,
         {"0 BootableMedia::copyFiles. system(cmd) error " + fileCopy, copyFailed,
          "0 Copying source file list fails" + ERROR + "CreateUSBKey()"}},
        {"chmod +x /mnt", 107, {"0 Changing mode fails" + ERROR + "CreateUSBKey()"}},
    };
}

class UsbTest : public JobTest {
protected:
    void SetUp() override {
        JobTest::SetUp();
        shell("rm -f /srv/key /srv/key4 && truncate -s 1M /srv/key4");
    }
    void TearDown() override {
        unsetenv("TALO_SOFT_USBKEY");
    }

    static void sweepKey(bool format, bool isSoft) {
        if (isSoft) {
            setenv("TALO_SOFT_USBKEY", "soft.img", 1);
        }
        const std::string formatting = FORMATTED + (isSoft ? "" : TABLE_SHOWN) + FORMAT_END;
        sweep<Usb>(events(PREPARED + (format ? formatting : "") + UNMOUNT + MOUNT +
                          (isSoft ? SOFT_MOUNT : "") + FILLED),
                   failuresOf(isSoft), [format](Usb& usb) {
                       bool initialized = false;
                       if (const int result = usb.init("/srv/job/work", "/srv/key", {"b c.txt", "dd"},
                                                       "tool.zip", initialized)) {
                           EXPECT_FALSE(initialized || usb.m_initialized);
                           return result;
                       }
                       EXPECT_TRUE(initialized && usb.m_initialized);
                       const int result = usb.CreateUSBKey(format);
                       EXPECT_EQ(usb.m_initialized, result != 0);
                       if (recording.failing == 0) {
                           shell("cd /srv/job/mounted && test -x 'b c.txt' && test -f grub.cfg && ! ls "
                                 "pxelinux* isolinux.bin 2>/dev/null");
                       }
                       return result;
                   });
    }
};

TEST_F(UsbTest, EveryCommandFails) {
    sweepKey(false, false);
}

TEST_F(UsbTest, EveryCommandFailsWhenFormatting) {
    sweepKey(true, false);
    EXPECT_EQ(bytesOf("/srv/key4", 43, 7), "4d4f58424f4f54"); // the label
}

TEST_F(UsbTest, EveryCommandFailsOnASoftKey) {
    sweepKey(true, true);
}

TEST_F(UsbTest, EndsAtWhatIsMissingOrRefused) {
    RecordingLogger logger;
    Usb usb(logger);
    EXPECT_EQ(usb.CreateUSBKey(true), 110);
    EXPECT_EQ(recording.events.back(), "0 It is not initialized. In BootableUSB::CreateUSBKey()");
    struct {
        std::string directory;
        std::string device;
        Lines files;
        std::string package;
        int result;
        std::string lastEvent;
    } const cases[] = {
        {"", "/srv/key", {"a.txt"}, "tool.zip", 100, "0 Be lack of source directory or usb volume" + INIT},
        {"/srv/job/work",
         "",
         {"a.txt"},
         "tool.zip",
         100,
         "0 Be lack of source directory or usb volume" + INIT},
        {"gone",
         "/srv/key",
         {"."},
         "tool.zip",
         81,
         "0 There is no update files under specified directory after filterring" + INIT},
        {"gone", "/srv/key", {"a.txt"}, "tool.zip", 100, "0 Changing working directory fails" + INIT},
        {"/srv/job/work", "/srv/key", {"a.txt"}, "gone.zip", 100, "0 There is no tool.zip file" + INIT},
        {"/srv/job/work",
         "/srv/key",
         {"a.txt", "gone"},
         "tool.zip",
         0,
         "2 BootableUSB::init() ends successfully"},
    };
    for (const auto& each : cases) {
        usb.m_initialized = true;
        bool initialized = each.result != 0;
        EXPECT_EQ(usb.init(each.directory, each.device, each.files, each.package, initialized), each.result);
        EXPECT_EQ(recording.events.back(), each.lastEvent);
        EXPECT_TRUE(initialized);
        EXPECT_EQ(usb.m_initialized, each.result == 0);
    }
    logger.answer = 5;
    EXPECT_EQ(usb.CreateUSBKey(false), 5);
    shell("mountpoint -q /mnt/VelaCreationUSBKey && test -z \"$(ls /srv/job/mounted)\"");
    logger.answer = 0;
    EXPECT_EQ(usb.CreateUSBKey(false), 100); // a file is missing; what came before it is on the key
    shell("test -f /srv/job/mounted/a.txt");
    std::ofstream("gone") << "no more";
    EXPECT_EQ(usb.CreateUSBKey(false), 0);
}

TEST_F(UsbTest, PutsSizesAndNamesIntoWords) {
    const std::pair<std::uint32_t, const char*> sizes[] = {
        {0, "0B"},
        {1, "512B"},
        {2, "1024B"},
        {3, "1.5KB"},
        {2048, "1024KB"},
        {2049, "1MB"},
        {2097152, "1024MB"},
        {2097153, "1GB"},
        {15633408, "7.455GB"},
        {31266816, "14.91GB"},
        {125045424, "59.63GB"},
        {0xFFFFFFFE, "2048GB"},
    };
    for (const auto& [sectors, text] : sizes) {
        EXPECT_EQ(sizeText(sectors), text);
    }
    for (const char* path : {"/dev/sdb", "/dev/sdb/", "sdb"}) {
        EXPECT_EQ(deviceName(path), "sdb");
    }
}

TEST_F(UsbTest, FitsCloneImages) {
    struct {
        std::int64_t capacity;
        const char* image;
        EndAddress end; // in a geometry of 255 heads and 63 sectors
        std::int64_t totalSectorsAt;
    } const cases[] = {
        {1606500, "init1.img", {254, 0x3F, 0x63}, 0x4020}, {15633408, "init8.img", {34, 0xD5, 0xCD}, 0x7E20},
        {31266816, "init8.img", {68, 0xEA, 0x9B}, 0x7E20}, {2097152, "init1.img", {138, 0x08, 0x82}, 0x4020},
        {2097153, "init2.img", {138, 0x09, 0x82}, 0x4020}, {4194304, "init2.img", {21, 0x50, 0x05}, 0x4020},
        {4194305, "init4.img", {21, 0x51, 0x05}, 0x4020},  {4194367, "init4.img", {22, 0x50, 0x05}, 0x4020},
        {4194368, "init4.img", {22, 0x51, 0x05}, 0x7E20},  {8388608, "init4.img", {42, 0xA0, 0x0A}, 0x7E20},
        {8388609, "init8.img", {42, 0xA1, 0x0A}, 0x7E20},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(cloneImageFor(each.capacity), each.image) << each.capacity;
        EXPECT_EQ(lastSectorAddress(each.capacity, geometryOf({254, 0xFF, 0})), each.end) << each.capacity;
        EXPECT_EQ(totalSectorsOffset(each.capacity - 63), each.totalSectorsAt) << each.capacity;
    }
}

TEST_F(UsbTest, FindsTheVendorInTheKernelsList) {
    const std::string host1 = "Host: scsi1 Channel: 00 Id: 00 Lun: 00\n";
    const std::string host10 = "Host: scsi10 Channel: 00 Id: 00 Lun: 00\n";
    const std::string one = "  Vendor: Acme     Model: Stick            Rev: 1.00\n";
    const std::string ten = "  Vendor: Tenfold  Model: Long Model Name  Rev: 2\n";
    struct {
        int host;
        std::string list;
        std::string vendor;
        std::string model;
    } const cases[] = {
        {1, "head\n" + host10 + ten + "x\n" + host1 + one, "Acme    ", "Stick           "},
        {10, "head\n" + host1 + one + "x\n" + host10 + ten, "Tenfold ", "Long Model Name "},
        {1, host1 + one, "", ""},
        {1, "head\n" + std::string(80, 'x') + "\n" + host1 + one, "", ""},
        {1, "head\n" + std::string(79, 'x') + "\n" + host1 + "  Vendor: Acme", "Acme", ""},
        {1, "head\nscsi1", "", ""},
    };
    RecordingLogger logger;
    Usb usb(logger);
    std::string vendor = "old";
    std::string model = "old";
    EXPECT_EQ(usb.getVendorModel("/srv/gone", vendor, model), -1);
    EXPECT_LT(usb.getVendorModel("/srv/key4", vendor, model), 0);
    EXPECT_EQ(vendor + model, "");
    for (const auto& each : cases) {
        const Overlay kernel("/proc");
        std::filesystem::create_directory("/proc/scsi");
        std::ofstream("/proc/scsi/scsi") << each.list;
        scsiHost = each.host;
        EXPECT_EQ(usb.getVendorModel("/srv/key4", vendor, model), 0);
        scsiHost = -1;
        EXPECT_EQ(vendor, each.vendor) << each.list;
        EXPECT_EQ(model, each.model) << each.list;
    }
    EXPECT_EQ(recording.events, Lines{});
}

TEST_F(UsbTest, DescribesAKey) {
    RecordingLogger logger;
    Usb usb(logger);
    _USBDATA data{"kept", "kept", "kept"};
    errno = EACCES;
    EXPECT_EQ(usb.getUSBData("", &data), 101);
    EXPECT_EQ(recording.events.back(), "0 Getting usb key name fails, and last error message is Permission "
                                       "denied. In BootableUSB::getUSBData()");
    EXPECT_EQ(data.vendor + data.model + data.size, "keptkeptkept");

    const Overlay kernel("/sys");
    const auto described = [&](const std::string& content) {
        shell("rm -rf /sys/block && mkdir -p /sys/block/key4/device && cd /sys/block/key4/device && " +
              content);
        data = {};
        EXPECT_EQ(usb.getUSBData("/srv/key4", &data), 0);
        return data.vendor + "|" + data.model + "|" + data.size;
    };
    EXPECT_EQ(described("echo Acme >vendor && echo Big Stick >model"), "Acme|Big|Undetected");
    EXPECT_EQ(described("echo >vendor"), "Undetected|Undetected|Undetected");
    EXPECT_EQ(described("printf '%300s' '' | tr ' ' v >vendor && echo M >model"),
              std::string(255, 'v') + "|M|Undetected");
    recording.events.clear();
    EXPECT_EQ(described("true"), "Undetected|Undetected|Undetected");
    EXPECT_EQ(recording.events, events(R"(
2 BootableUSB::getUSBData() starts
0 Can't get manufacturer and model info. In BootableUSB::getUSBData()
2 BootableUSB::getUSBData() ends successfully)"));
}

/// A loop device of a number of sectors, under the name of the key.
class Key {
public:
    explicit Key(long sectors) {
        shell("truncate -s " + std::to_string(sectors * 512) +
              " /srv/disk && losetup -f --show /srv/disk >/srv/loop");
        const std::string device = contentOf("/srv/loop");
        m_device = device.substr(0, device.find('\n'));
        shell("ln -sfn " + m_device + " /srv/key");
    }
    ~Key() {
        shell("losetup -d " + m_device + " && rm /srv/disk");
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

private:
    std::string m_device;
};

class BootCheckTest : public UsbTest {
protected:
    void SetUp() override {
        UsbTest::SetUp();
        makeImages();
    }

    /// With a geometry of 255 heads and 63 sectors, and the partition at sector 63.
    static void makeImages() {
        for (const char* image : {"init1.img", "init8.img"}) {
            shell(std::string("rm -f ") + image + " && truncate -s 40000 " + image);
            patch(image, 499, "fe3fff3f");
        }
    }

    int check(bool& format) {
        Usb usb(logger);
        usb.m_usbDevice = "/srv/key";
        recording.events.clear();
        return usb.isBootable(format);
    }

    RecordingLogger logger;
};

const std::string CHECKED = R"(
2 BootableUSB::isBootable() starts
2 after checking, CLONE_FILE=init8.img
2 capacity to be write at 0x1FA = 15633345
)";
const std::string CHECK_END = "2 BootableUSB::isBootable() ends successfully\n";
const std::string MAKE_PLACE =
    "$ rm -rf \"/mnt/VelaCreationUSBKey\" >>\n$ mkdir \"/mnt/VelaCreationUSBKey\" >>\n";

TEST_F(BootCheckTest, EveryCommandFails) {
    const Key key(15633408);
    patch("/srv/disk", 499, "22d5cd3f");
    patch("/srv/disk", 0x1FA, "c18bee00");
    const Lines noMount = {"0 Mounting usb fails" + ERROR + "isBootable()"};
    const Lines noMountPoint =
        Lines{"0 Creating MOUNT_POINT directory fails" + ERROR + "mountUsb()"} + noMount;
    sweep<Usb>(events(CHECKED + UNMOUNT + MAKE_PLACE + MOUNT + UNMOUNT + CHECK_END),
               {
                   {"rm", 0, {}},
                   {"rm", 101, events("$ mkdir \"/mnt/VelaCreationUSBKey\" >>\n") + noMountPoint},
                   {"mkdir", 106, {"0 Creating MOUNT_POINT fails" + ERROR + "isBootable()"}},
                   {"mkdir", 101, noMountPoint},
                   {"mount", 101, Lines{"0 Mount usb key fails" + ERROR + "mountUsb()"} + noMount},
               },
               [](Usb& usb) {
                   makeImages();
                   shell("touch mounted/img1a.sys");
                   usb.m_usbDevice = "/srv/key";
                   bool format = true;
                   const int result = usb.isBootable(format);
                   EXPECT_FALSE(format);
                   EXPECT_EQ(usb.m_cloneFile, "init8.img");
                   return result;
               });
}

TEST_F(BootCheckTest, AdjustsTheImageAgainAndAgain) {
    bool format = false;
    {
        const Key key(15633408);
        ASSERT_EQ(check(format), 0);
        EXPECT_TRUE(format);
        EXPECT_EQ(recording.events.at(3), "2 buf[1f3](0) != buf2[1f3](22)\n");
        EXPECT_EQ(bytesOf("init8.img", 499, 4) + bytesOf("init8.img", 0x1FA, 4) +
                      bytesOf("init8.img", 0x7E20, 4),
                  "22d5cd3fc18bee00c18bee00");
        patch("/srv/disk", 499, bytesOf("init8.img", 499, 11) + "55");
        ASSERT_EQ(check(format), 0); // the same key, once more
        EXPECT_TRUE(format);
        EXPECT_EQ(recording.events.at(3), "2 buf[1fe](55) != buf2[1fe](0)\n");
        patch("/srv/disk", 0x1FE, "00");
        ASSERT_EQ(check(format), 0);
        EXPECT_TRUE(format); // for want of the boot file
        EXPECT_EQ(recording.events.at(3), "2 BootableUSB::unMountUsb() starts");
    }
    {
        const Key larger(31266816);
        ASSERT_EQ(check(format), 0);
        EXPECT_EQ(bytesOf("init8.img", 499, 4), "44ea9b3f");
        makeImages(); // unpacked anew, with a geometry of its own: 16 heads, 32 sectors
        patch("init8.img", 499, "0fe0");
        ASSERT_EQ(check(format), 0);
        EXPECT_EQ(bytesOf("init8.img", 499, 4), "0fa0bb3f");
    }
    const Key hundredCylinders(1606500);
    ASSERT_EQ(check(format), 0);
    EXPECT_EQ(bytesOf("init1.img", 499, 4) + bytesOf("init1.img", 0x1FA, 4) + bytesOf("init1.img", 0x4020, 4),
              "fe3f633f2583180025831800");
}

TEST_F(BootCheckTest, SaysWhatCannotBeReadOrAdjusted) {
    const auto ends = [this](int result, const std::string& message) {
        bool format = true;
        EXPECT_EQ(check(format), result) << message;
        EXPECT_TRUE(format);
        EXPECT_EQ(recording.events.back(), "0 " + message + ". In BootableUSB::isBootable()");
        format = false;
        EXPECT_EQ(check(format), result);
        EXPECT_FALSE(format);
    };
    const std::string LAST = ", and last error message is ";
    shell("rm -f /srv/key");
    ends(101, "Opening usb key fails" + LAST + "No such file or directory");
    std::ofstream("/srv/key") << std::string(511, 'x');
    errno = EPROTO; // a short read has no error of its own
    bool format = false;
    EXPECT_EQ(check(format), 101);
    EXPECT_EQ(recording.events.back(),
              "0 Reading usb key sector fails" + LAST + "Protocol error. In BootableUSB::isBootable()");
    std::ofstream("/srv/key") << std::string(512, 'x');
    ends(101, "Getting usb capacity fails" + LAST + "Inappropriate ioctl for device");

    shell("rm /srv/key");
    const Key key(15633408);
    EXPECT_EQ(Usb(logger).getUSBCapacity("/srv/key"), 15633408U);
    EXPECT_EQ(Usb(logger).getUSBCapacity("/srv/key4"), 0xFFFFFFFFU);
    const std::string reading = "Reading CLONE_FILE fails" + LAST;
    patch("init8.img", 500, "c0");
    const std::string content = contentOf("init8.img");
    ends(101, reading + "Invalid argument");
    EXPECT_EQ(contentOf("init8.img"), content);
    shell("truncate -s 502 init8.img");
    ends(101, reading + "Invalid argument");
    EXPECT_EQ(std::filesystem::file_size("init8.img"), 502U);
    makeImages();
    shell("mkdir full && mount -t tmpfs -o size=4k none full && cp --sparse=always init8.img full && ln -sf "
          "full/init8.img .");
    ends(101, reading + "No space left on device");
    shell("mount -o remount,ro full");
    ends(100, "Opening CLONE_FILE fails" + LAST + "Read-only file system");
    shell("umount full && rm init8.img");
    ends(100, "Opening CLONE_FILE fails" + LAST + "No such file or directory");
}

} // namespace
