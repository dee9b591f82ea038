#include "disks/cloning.h"
#include "disks/diskLock.h"
#include "disks/inventory.h"
#include "disks/powerDown.h"
#include "frontend.h"
#include "inputs/checksum.h"
#include "inputs/toolPackage.h"
#include "keys/keyResults.h"
#include "loop.h"

#include <chrono>
#include <regex>
#include <thread>

#include <nlohmann/json.hpp>

using namespace velacreate;

namespace {

struct ManyKeysTest : JobTest {};

} // namespace

/// Each row: what is done to a blank disk before it is wiped.
TEST_F(ManyKeysTest, NothingIsRecognisedOnAWipedDisk) {
    for (const auto& row : rows("wiped-disks")) {
        SCOPED_TRACE(row[0]);
        prepare("exec >/dev/null 2>&1; rm -f disk; truncate -s 16M disk; " + row[0]);
        shell("wipefs -n disk | grep -q 0x");
        const auto disk = opened("disk", O_RDWR);
        wipeSignatures(disk);
        wipeEnd(disk);
        shell("wipefs -n disk >found; cat found; [ ! -s found ]; blkid -p disk || [ $? = 2 ]");
    }
}

TEST_F(DisksTest, ImageTakesThePlaceOfAllThatWasThere) {
    shell("printf 'label:gpt\\n,4M\\n,4M\\n' | sfdisk -q disk && truncate -s 12M image && printf "
          "'label:dos\\ndisk4:start=63,size=16000\\n' | sfdisk -q image && mke2fs -qE offset=32256 image 7M");
    const Loop loop("disk");
    shell("partx -u " + loop.node()); // here and below, kernels that know no such tables are told
    const DiskLock hold(loop.disk());
    auto glance = opened("/dev/" + loop.disk().partitionName(2)); // as udev's
    ASSERT_TRUE(glance.isOpen());
    Told told;
    {
        const auto device = openToWrite(hold.descriptor());
        wipeSignatures(device);
        cloneTo(device, opened("image"), told.advance);
        std::thread end([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            glance = Descriptor();
            for (int trial = 0; trial < 500 && partitionNumber(loop.disk(), 2) != 0; ++trial) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            runForReal("addpart " + loop.node() + " 4 63 16000 2>/dev/null");
        });
        EXPECT_EQ(outcomeOf([&] { rereadPartitionTable(device, loop.disk(), 4); }), "done");
        EXPECT_EQ(partitionSize(loop.disk(), 4), 16000U * 512);
        end.join();
    }
    EXPECT_EQ(told.bytes, 12U << 20U);
    shell("cmp -n 12582912 image " + loop.node() + "; mount /dev/" + loop.disk().partitionName(4) +
          " /mnt/a");
    EXPECT_EQ(outcomeOf([&] { openToWrite(hold.descriptor()); }),
              "failed: the disk cannot be opened for writing: Device or resource busy");
}

TEST_F(DisksTest, WriteErrorsOfACloneImageAreTold) {
    shell("mount -t tmpfs -o size=2m none /mnt/a && truncate -s 16M /mnt/a/full && seq 999999 >image");
    const Loop loop("/mnt/a/full");
    const DiskLock hold(loop.disk());
    const Told told;
    EXPECT_EQ(outcomeOf([&] { cloneTo(openToWrite(hold.descriptor()), opened("image"), told.advance); }),
              "failed: the disk could not take all that was written: Input/output error");
}

/// Each row: a disk's size, that of its sectors and of the image, and what is against writing it there.
TEST_F(DisksTest, WhatAnImageCannotBeWrittenTo) {
    for (const auto& row : rows("erasing")) {
        shell("rm -f disk; truncate -s " + row[0] + " disk");
        const Loop loop("disk", "-b " + row[1]);
        EXPECT_EQ(eraseIneligibilityReason(loop.disk(), "init1.img", std::stoull(row[2])), row[3]);
    }
}

/// With the kernel's view of three USB devices, two of them card readers with two slots, and of a SATA disk.
TEST_F(ManyKeysTest, PowerIsTurnedOffOnlyForADiskOfItsOwn) {
    Lines outcomes;
    whileEmpty("/sys/block", [&] {
        whileEmpty("/sys/dev/block", [&] {
            shell("number=0; while read -r port name size; do\n"
                  "number=$((number + 1)) at=/sys/block/$port/$name; mkdir -p $at\n"
                  "ln -s $at /sys/dev/block/8:$number; ln -s $at /sys/block\n"
                  "echo 8:$number >$at/dev; echo $size >$at/size; echo 1 >$at/removable\n"
                  "[ $port = sata ] || touch $at/../busnum $at/../remove\n"
                  "done <<END\nusb1 sda 9\nusb2 sdb 9\nusb2 sdc 0\n"
                  "usb3 sdd 9\nusb3 sde 9\nsata sdf 9\nEND\n");
            for (const auto& disk : removableDisks()) {
                outcomes.push_back(disk.name + " " + outcomeOf([&] { powerDown(disk); }));
            }
            shell("grep -l 1 /sys/block/*/remove >off");
        });
    });
    EXPECT_EQ(joined(outcomes, "; "), "sda done; sdb done; sdd failed: it shares its USB port with /dev/sde; "
                                      "sde failed: it shares its USB port with /dev/sdd; "
                                      "sdf failed: it is not on USB");
    EXPECT_EQ(contentOf("off"), "/sys/block/usb1/remove\n/sys/block/usb2/remove\n");
}

TEST_F(ManyKeysTest, SumsAreThoseOfSha256sum) {
    for (const char* size : {"0", "131072", "300001"}) {
        shell("head -c " + std::string(size) + " /dev/urandom >file && sha256sum file >sum");
        EXPECT_EQ(sha256Of(opened("file")), contentOf("sum").substr(0, 64)) << size;
    }
    prepare("pack boot/a && sha256sum work/p.zip >sum");
    EXPECT_EQ(ToolPackage("work/p.zip", CloneImages::wanted).sum(), contentOf("sum").substr(0, 64));
}

TEST_F(ManyKeysTest, ReportHasALineForEachKey) {
    Report report("report");
    report.append(jsonOf("/dev/sdb", {"Maker", "Stick 3.0", "4C53", "usb 1-2", 8004304896}),
                  {0, "", {}, true, 52.04}, {"56", {{"a b", "12"}, {"sub/\xe4", "34"}}});
    shell("mv report first");
    report.append(jsonOf("/dev/sdc", {"", "\"\\\n\xc3\xbc", "", "", 0}),
                  {104, "is read-only", {}, true, 0.25}, {"56", {{"a b", "12"}}});
    Outcome right = {0, "", {}, false, 1};
    right.wasRight = true;
    report.append({{"slot", "1"}}, right, {"", {}, "78", "9a"});
    shell("cat report >>first; mv first report");
    const std::regex time(R"("20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ")");
    EXPECT_EQ(
        std::regex_replace(contentOf("report"), time, "TIME"),
        R"({"time":TIME,"version":")" VELACREATE_VERSION
        R"(","node":"/dev/sdb","port":"usb 1-2","vendor":"Maker","model":"Stick 3.0",)"
        R"("serial":"4C53","size":8004304896,"result":"made","status":0,"reason":"","seconds":52.0,"package":"56","updates":)"
        R"([{"place":"a b","sha256":"12"},{"place":"sub/�","sha256":"34"}]})"
        "\n"
        R"({"time":TIME,"version":")" VELACREATE_VERSION
        R"(","node":"/dev/sdc","port":"","vendor":"","model":"\"\\\nü","serial":"",)"
        R"("size":0,"result":"failed","status":104,"reason":"the key cannot be formatted (104): is read-only","seconds":0.3,"package":"56"})"
        "\n"
        R"({"time":TIME,"version":")" VELACREATE_VERSION
        R"(","slot":"1","result":"already","status":0,"reason":"","seconds":1.0,"image":"78","sha256":"9a"})"
        "\n");
}

TEST_F(ManyKeysTest, ResultsOfSeveralKeysFitATerminalAndTellWhatFailedWhere) {
    const auto key = [](const char* name, const char* serial, const std::string& ineligibility) {
        return Key{{name, 0}, {"Maker", "Stick", serial, "usb 1-2.4", 9}, std::nullopt, ineligibility, true};
    };
    ChosenKeys chosen;
    chosen.keys.push_back(key("sda", "0123456789012345678901234567890123456789", ""));
    chosen.keys.push_back(key("sdb", "B", ""));
    chosen.keys.push_back(key("sdc", "C", "/dev/sdc is read-only"));
    chosen.leftOut.push_back(key("sdd", "D", "/dev/sdd is not removable"));
    Report report("report");
    int status = -1;
    const auto said = outputOf([&] {
        Console console;
        KeyResults results(chosen, false, true, report, console);
        status = results.conclude({{0, "", {"table"}, true, 125, 4.2e6, JobKind::making, "2 files more"},
                                   {104, "", {"line 1", "mkfs: no"}, true, 1}});
    });
    EXPECT_EQ(status, 104);
    EXPECT_EQ(said, "Port       Key       Serial number                     Result\n"
                    "usb 1-2.4  /dev/sda  01234567890123456789012345678901  made, 2 min 5 s, 4.2 MB/s\n"
                    "usb 1-2.4  /dev/sdb  B                                 failed (104)\n"
                    "usb 1-2.4  /dev/sdc  C                                 refused (2)\n"
                    "What was made was read back, and may be pulled out.\n"
                    "1 key made, 1 failed, 1 refused\n|"
                    "velacreate: /dev/sdb: failed: the key cannot be formatted (104): mkfs: no. "
                    "Check its write protection, and that nothing else uses it.\n"
                    "velacreate: /dev/sdc: refused: /dev/sdc is read-only.\n");
    shell("sed -E 's/.*node\":\"([^\"]*).*result\":\"([^\"]*)\",\"status\":([0-9]*).*/\\1 \\2 \\3/' report "
          ">short");
    EXPECT_EQ(contentOf("short"),
              "/dev/sda made 0\n/dev/sdb failed 104\n/dev/sdc refused 2\n/dev/sdd refused 2\n");
}

TEST_F(ManyKeysTest, ReportThatCannotBeKept) {
    shell("ln -s report link");
    EXPECT_EQ(outcomeOf([] { Report report("link"); }), "refused: the report 'link' is a link");
    EXPECT_EQ(outcomeOf([] { Report report("gone/report"); }),
              "refused: the report 'gone/report': No such file or directory");
    EXPECT_EQ(outcomeOf([] { Report report("report"); }), "done");
    EXPECT_FALSE(std::filesystem::exists("report"));
    Report report("/dev/full");
    const auto append = [&] { report.append(Json::object(), {0, "", {}, false, 0}, {}); };
    EXPECT_EQ(outcomeOf(append), "failed: the report is incomplete from here on: No space left on device");
    EXPECT_EQ(outcomeOf(append), "done");
}
