#include "forms/blockMap.h"
#include "forms/fatNames.h"
#include "forms/keyBlocks.h"
#include "forms/keyReader.h"
#include "frontend.h"

#include <algorithm>
#include <map>

#include <unistd.h>

using namespace velacreate;
using namespace std::string_literals;

namespace {

/// @name Offsets in a key of FAT 12 that is made here, with four sectors to a cluster
/// @{
constexpr std::uint64_t VOLUME = 0x1000;
constexpr std::uint64_t TABLE = VOLUME + 0x200;
constexpr std::uint64_t TABLE_SIZE = 0x200;
constexpr std::uint64_t TOP = TABLE + 2 * TABLE_SIZE;

constexpr std::uint64_t entryAt(std::uint64_t index) {
    return TOP + index * 32;
}

constexpr std::uint64_t clusterAt(std::uint64_t cluster) {
    return TOP + 0x4000 + (cluster - 2) * 0x800;
}
/// @}

using Patches = std::vector<std::pair<std::uint64_t, std::string>>;

Patches inTables(std::uint64_t offset, const std::string& bytes) {
    return {{TABLE + offset, bytes}, {TABLE + TABLE_SIZE + offset, bytes}};
}

struct KeyFormTest : JobTest {
    /// Makes a stick as a job does, of 256 KiB to a cylinder. The kernel would write the same entries as
    /// mtools: in the top directory those of the label, EFI, Grub.cfg (2 and 3), a name in two pieces (4 to
    /// 6), BIG.BIN, NONE, and a deleted one; from cluster 2 on EFI, BOOT.EFI, Grub.cfg, the two pieces,
    /// BIG.BIN (6 to 8).
    static void make(const std::string& cylinders) {
        enterFreshJob();
        shell("cylinders=" + cylinders + " cloneImage=" TESTS_DIR "/../demo/clone-image\n" +
              R"(
            mkdir package; $cloneImage package/init1.img 1024 64 8; $cloneImage key $cylinders 64 8
            truncate -s $((256 * cylinders))K key
            mkfs.vfat -nMOXBOOT --offset 8 key >/dev/null
            printf small >small; printf %5000s big >big; >none; export MTOOLSRC=/dev/null
            put() { mcopy -i key@@4096 $1 "::$2"; }
            mmd -i key@@4096 ::EFI; put small EFI/BOOT.EFI; put small Grub.cfg; put small 'A name in two pieces.txt'
            put big BIG.BIN; put none NONE; put big GONE; mdel -i key@@4096 ::GONE)");
    }

    Lines examine(const Descriptor& key) {
        MediumBytes medium(key, static_cast<std::uint64_t>(key.status().st_size));
        const auto here = opened(".");
        SourceFiles sources(here.number());
        Differences differences;
        const Advance advance = [](std::uint64_t) {};
        findings = examineKey({medium, sources, differences, advance, variation}, tree, form);
        return differences.lines();
    }

    Lines examine(const Patches& patches) {
        const auto key = opened("key", O_RDWR);
        Patches before;
        for (const auto& [offset, bytes] : patches) {
            before.emplace_back(offset, std::string(bytes.size(), '\0'));
            EXPECT_GT(
                pread(key.number(), before.back().second.data(), bytes.size(), static_cast<off_t>(offset)),
                0);
            write(key, offset, bytes);
        }
        const auto lines = examine(key);
        for (const auto& [offset, bytes] : before) {
            write(key, offset, bytes);
        }
        return lines;
    }

    static void write(const Descriptor& key, std::uint64_t offset, const std::string& bytes) {
        EXPECT_EQ(pwrite(key.number(), bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
    }

    Tree tree = {{"EFI", {"efi", 0, true}},         {"EFI/BOOT.EFI", {"small", 5, false}},
                 {"Grub.cfg", {"small", 5, false}}, {"A name in two pieces.txt", {"small", 5, false}},
                 {"big.bin", {"big", 5000, false}}, {"none", {"none", 0, false}}};
    KeyForm form = {
        {[](const std::string& name) { return opened("package/" + name); }}, false, OtherFiles::none};
    ReportVariation variation;
    KeyFindings findings;
};

TEST_F(KeyFormTest, AcceptsKeys) {
    for (const auto& [bits, cylinders] : {std::pair("12", "1"), {"16", "34"}, {"32", "2200"}}) {
        make(cylinders);
        EXPECT_EQ(joined(examine(Patches{}), "; "), "") << bits;
        EXPECT_TRUE(findings.notes.empty());
        const auto dirty = bits == "32"s ? VOLUME + 0x41 : VOLUME + 0x25;
        EXPECT_EQ(joined(examine({{dirty, "\1"}}), "; "), "");
        EXPECT_EQ(joined(findings.notes, "; "),
                  "the file system was not unmounted, as its boot sector tells");
    }
}

TEST_F(KeyFormTest, AcceptsImagesOfOthers) {
    make("1");
    form.isImage = true;
    EXPECT_EQ(joined(examine(Patches{}), "; "), "");
    shell("truncate -s 256K image; mkfs.vfat --offset 63 image >/dev/null; MTOOLSRC=/dev/null mcopy -i "
          "image@@32256 "
          "none ::NONE; mv image key; rm package/init1.img");
    tree = {{"none", {"none", 0, false}}};
    EXPECT_EQ(joined(examine(Patches{}), "; "), "");
    EXPECT_EQ(examine({{0, "\1"}}).front(),
              "the tool package has no 'init1.img', so the boot record cannot be compared");
    form.isImage = false;
    EXPECT_EQ(examine(Patches{}).back(), "there is no fourth partition");
    form = {{nullptr, {"sum"}}, true, OtherFiles::none};
    EXPECT_EQ(examine(Patches{}).back(), "there is no fourth partition");
}

TEST_F(KeyFormTest, SumsUpTheSameBootCodeOfEachKey) {
    make("1");
    const auto sums = sumsOfBootCode(form.head.openCloneImage);
    ASSERT_EQ(sums.size(), 1U);
    for (const std::uint64_t capacity : {1024U, 70000U}) {
        auto head = headOfKey(opened("package/init1.img"), capacity);
        head[440] = head[445] = 1;
        EXPECT_EQ(sumOfBootCode(head), sums.front());
        for (const std::size_t at : {std::size_t{439}, std::size_t{446}, head.size() - 1}) {
            auto other = head;
            ++other[at];
            EXPECT_NE(sumOfBootCode(other), sums.front()) << at;
        }
    }
}

/// As the kernel writes two names whose short names differ only in a letter of the code page.
TEST_F(KeyFormTest, FindsEachChangeBeforeTheFileSystemBySums) {
    make("1");
    form.head = {nullptr, sumsOfBootCode(form.head.openCloneImage)};
    const auto key = contentOf("key");
    EXPECT_EQ(joined(examine(Patches{}), "; "), "");
    for (std::size_t at = 0; at < VOLUME; at += at < 0x200 ? 1 : 61) {
        const auto changed = static_cast<char>(key[at] ^ (1 << at % 8));
        EXPECT_EQ(examine({{at, std::string(1, changed)}}).empty(), at >= 440 && at < 446) << at;
    }
    form.head.bootCodes.clear();
    EXPECT_EQ(joined(examine({{0, "\xeb"}}), "; "), "");
    EXPECT_EQ(examine({{510, "x"}}).front(), "the boot record has no signature");
}

/// What other systems have left is counted, whatever is in it. A name of theirs elsewhere is a difference.
TEST_F(KeyFormTest, TellsTracesOfOtherSystems) {
    make("1");
    shell("export MTOOLSRC=/dev/null; put() { mcopy -i key@@4096 $1 \"::$2\"; }; mmd -i key@@4096 "
          "'::System Volume Information' ::.Trashes ::.Trash-1000; put small 'System Volume "
          "Information/a.guid'; "
          "put small ._Grub.cfg; mattrib -i key@@4096 +h +s '::System Volume Information' ::._Grub.cfg");
    EXPECT_EQ(examine(Patches{}).back(), "'System Volume Information' is there, but should not be");
    form.others = OtherFiles::tracesOfSystems;
    EXPECT_EQ(joined(examine({{440, "\1\2\3\4"}}), "; "), "");
    EXPECT_EQ(joined(findings.notes, "; "),
              "other systems have left 'System Volume Information', '.Trashes', '.Trash-1000', '._Grub.cfg': "
              "2 files with 10 bytes, which were not compared; the disk signature is not compared; it is "
              "0x04030201");
    shell("export MTOOLSRC=/dev/null; mmd -i key@@4096 ::EFI/.Trashes; mcopy -i key@@4096 small ::._none_");
    EXPECT_EQ(joined(examine(Patches{}), "; "),
              "'._none_' is there, but should not be; 'EFI/.Trashes' is there, but should not be");
}

TEST_F(KeyFormTest, TellsLettersOfTheCodePageApart) {
    make("1");
    const auto entries = [](const std::string& letter, const std::string& short83) {
        FatShortName name{};
        std::copy(short83.begin(), short83.end(), name.begin());
        return "\x41" + letter + "\0001\0.\0t\0x\0\x0f\0"s + static_cast<char>(checkSum(name)) + "t\0\0\0"s +
               std::string(8, '\xff') + "\0\0"s + std::string(4, '\xff') + short83 + " " +
               std::string(20, '\0');
    };
    tree.erase("none");
    tree.insert({{"\u00e91.txt", {"none", 0, false}}, {"\u00fc1.txt", {"none", 0, false}}});
    const auto first = entries("\xe9", "\x90"
                                       "1      TXT");
    EXPECT_EQ(joined(examine({{entryAt(8), first + entries("\xfc", "\x9a"
                                                                   "1      TXT")}}),
                     "; "),
              "");
    const auto lines = examine({{entryAt(8), first + first}});
    EXPECT_NE(std::find(lines.begin(), lines.end(), "'\u00e91.txt' is there twice"), lines.end());
}

TEST_F(KeyFormTest, CountsSoundFilesThatStay) {
    make("1");
    shell("export MTOOLSRC=/dev/null; mmd -i key@@4096 ::more; mcopy -i key@@4096 big ::more/big.x; mcopy "
          "-i key@@4096 "
          "small ::small.x; mattrib -i key@@4096 +h +r ::small.x");
    EXPECT_EQ(examine(Patches{}).back(), "'small.x' is there, but should not be");
    form.others = OtherFiles::any;
    EXPECT_EQ(joined(examine(Patches{}), "; "), "");
    EXPECT_EQ(findings.kept.files, 2U);
    EXPECT_EQ(findings.kept.bytes, 5005U);
    EXPECT_EQ(joined(examine(inTables(16, "\xf0\xff")), "; "), "'more/big.x' has 2 clusters, but needs 3");
}

TEST_F(KeyFormTest, NamesEachFault) {
    make("1");
    const auto sum = [](const std::string& name) {
        FatShortName shortName{};
        std::copy(name.begin(), name.end(), shortName.begin());
        return std::string(1, static_cast<char>(checkSum(shortName)));
    };
    const auto boot = [](const std::string& line) {
        return "the boot sector of the file system (byte 0x10" + line;
    };
    const auto top = [](const std::string& line) { return "the top directory, entry " + line; };
    const auto ofImage = [](const std::string& field) {
        return field + " is not as in 'init1.img' of the tool package";
    };
    const std::string ofDefaults = " is not what mkfs.vfat gives to a file system of 496 sectors";
    const std::pair<Patches, std::string> damages[] = {
        {{{0, "\xeb"}}, ofImage("the boot code (byte 0)")},
        {{{450, "\x0c"}}, ofImage("the first partition (byte 450)")},
        {{{0x200, "EFI PART"}}, ofImage("the gap before the file system (byte 512)")},
        {{{498, "\x0e"}}, ofImage("the type of the fourth partition (byte 498)")},
        {{{502, "\x3f"}}, ofImage("the last address of the fourth partition (byte 499)")},
        {{{506, "\xf7"}}, ofImage("the last address of the fourth partition (byte 500)")},
        {{{507, "\2"}}, "the fourth partition ends behind the medium"},
        {{{0x3fe00, "EFI PART"}}, "bytes 0x3fe00–0x3fe07 look like gpt"},
        {{{0x8001, "CD001"}}, "bytes 0x8001–0x8005 look like iso9660"},
        {{{VOLUME + 0x8001, "BOOT2"}}, "bytes 0x9001–0x9005 look like udf"},
        {{{VOLUME + 0x10000, "SKUL\xba\xbe"}}, "bytes 0x11000–0x11005 look like crypto_LUKS"},
        {{{0x20400, "\x0c\xb1\xba\0\0\0\0\0"s}}, "bytes 0x20400–0x20407 look like zfs_member"},
        {{{VOLUME + 0x438, "\x53\xef"}}, "bytes 0x1438–0x1439 look like ext2"},
        {{{VOLUME + 3, "MSDOS5.0"}}, boot("03): its OEM name is not what mkfs.vfat writes")},
        {{{VOLUME + 12, "\4"}}, boot("00): its sectors do not have 512 bytes")},
        {{{VOLUME + 13, "\3"}}, boot("00): its cluster size is not a power of two")},
        {{{VOLUME + 14, "\0"s}}, boot("00): it has too few reserved sectors")},
        {{{VOLUME + 16, "\1"}}, boot("10): its number of tables is not what mkfs.vfat writes")},
        {{{VOLUME + 17, "\1"}}, boot("00): it has a wrong number of root entries")},
        {{{VOLUME + 19, "\xff\xff"}},
         boot("00): the file system has 65535 sectors, but there is only room for 504")},
        {{{VOLUME + 19, "\x90\1"}}, boot("00): the file system ends 104 sectors before its partition")},
        {{{VOLUME + 19, "\1\0"s}}, boot("00): the file system ends 503 sectors before its partition")},
        {{{VOLUME + 13, "\2"}}, boot("00): its cluster size" + ofDefaults)},
        {{{VOLUME + 14, "\2"}}, boot("00): its number of reserved sectors" + ofDefaults)},
        {{{VOLUME + 17, "\x10"}}, boot("00): its number of root entries" + ofDefaults)},
        {{{VOLUME + 22, "\xff\xff"}}, boot("00): FAT 12 does not have 0 clusters")},
        {{{VOLUME + 37, "\4"}}, boot("25): its state is not what mkfs.vfat writes")},
        {{{VOLUME + 43, "OTHER"}}, boot("2b): its label is not what mkfs.vfat writes")},
        {{{VOLUME + 90, "\1"}}, boot("5a): its boot code is not what mkfs.vfat writes")},
        {{{TABLE + TABLE_SIZE + 9, "\x08"}},
         "the second table of the file system differs from the first one in bytes 0x1400–0x15ff"},
        {inTables(0, "\xf0"), "the table of the file system: the entry of cluster 0 (0xff0) is not the media "
                              "byte of the boot sector"},
        {inTables(9, "\xf7\x8f"),
         "the table of the file system: the entry of cluster 6 (0xff7) is neither a cluster nor an end"},
        {inTables(178, "\x10"),
         "the table of the file system: the entry of cluster 119 (0x1) is behind the last cluster"},
        {inTables(10, "\x60"), "'BIG.BIN' leads to cluster 6, which is already in use"},
        {inTables(10, "\x50"), "'BIG.BIN' leads to cluster 5, which is already in use"},
        {inTables(10, "\x90"),
         "'BIG.BIN' leads to cluster 9, which is free or in the middle of other clusters"},
        {inTables(10, "\xf0\xff"), "'BIG.BIN' has 2 clusters, but needs 3"},
        {inTables(15, "\xff\x0f"), "clusters of the file system that belong to no file: 1, the first is 10"},
        {{{entryAt(0), "X"}}, top("0: it is not that of 'MOXBOOT'")},
        {{{entryAt(1) + 28, "\1"}}, top("1: the directory 'EFI' has a size")},
        {{{entryAt(2) + 13, "\x91"}},
         top("3: its short name 'GRUB.CFG' does not have the check sum in its long name")},
        {{{entryAt(2) + 26, "\1"}}, top("2: its fields are not those of a piece of a long name")},
        {{{entryAt(2) + 1, "/"}}, top("3: its long name is not allowed")},
        {{{entryAt(3) + 11, "\x22"}},
         top("3: the attributes of 'Grub.cfg' are not those of a file or a directory")},
        {{{entryAt(3) + 12, "\x18"}},
         top("3: the attributes of 'Grub.cfg' are not those of a file or a directory")},
        {{{entryAt(7) + 11, "\x28"}},
         top("7: the attributes of 'BIG.BIN' are not those of a file or a directory")},
        {{{entryAt(7) + 20, "\1"}},
         top("7: the attributes of 'BIG.BIN' are not those of a file or a directory")},
        {{{entryAt(4), "\x43"}}, top("5: the pieces of a long name are not in order")},
        {{{entryAt(5), "\xe5"}}, top("5: it does not go on with the long name before it")},
        {{{entryAt(4) + 28, "x"}, {entryAt(4) + 24, "\0"s}}, top("4: the padding of its long name is wrong")},
        {{{entryAt(6), "LOADER  BIN"},
          {entryAt(4) + 13, sum("LOADER  BIN")},
          {entryAt(5) + 13, sum("LOADER  BIN")}},
         top("6: its short name 'LOADER.BIN' is not what the kernel makes of its long name")},
        {{{entryAt(7), "big     BIN"}}, top("7: its name is not allowed")},
        {{{entryAt(12) + 5, "x"}}, top("10: there is something behind the end of the directory")},
        {{{clusterAt(2) + 26, "\3"}}, "the directory 'EFI', entry 0: it is not that of '.'"},
        {{{clusterAt(2) + 58, "\2"}}, "the directory 'EFI', entry 1: it is not that of '..'"},
        {{{entryAt(7), "GRUB    CFG"}}, "'GRUB.CFG' is there twice"},
        {{{entryAt(7), "ANAMEI~1TXT"}}, "'ANAMEI~1.TXT' is there twice"},
        {{{entryAt(7), "OTHER   BIN"}}, "'OTHER.BIN' is there, but should not be"},
        {{{entryAt(7), "OTHER   BIN"}}, "update file 'big.bin' is missing"},
        {{{entryAt(7) + 28, "\x89"}}, "update file 'big.bin' differs"},
        {{{clusterAt(8), "x"}}, "update file 'big.bin' differs"},
        {{{entryAt(8) + 11, "\x10"}}, "'NONE' has no clusters"}};
    const std::pair<Patches, std::string> damagesOf32[] = {
        {{{VOLUME + 0x10040, "_BHRfS_M"}}, "bytes 0x11040–0x11047 look like btrfs"},
        {{{VOLUME + 0x24, "\1\1"}}, boot("00): its tables are too short for 140728 clusters")},
        {{{VOLUME + 0x24, "\x80\4"}}, boot("00): its tables are too long for 140505 clusters")},
        {{{0x225f0000, "\xa9\x2b\x4e\xfc"}}, "bytes 0x225f0000–0x225f0003 look like linux_raid_member"},
        {{{VOLUME + 0x225e0000, "\xfc\x4e\x2b\xa9"}},
         "bytes 0x225e1000–0x225e1003 look like linux_raid_member"},
        {{{VOLUME + 0x28, "\x81"}}, boot("28): its table flags is not what mkfs.vfat writes")},
        {{{VOLUME + 0x2c, "\3"}}, boot("2c): its root cluster is not what mkfs.vfat writes")},
        {{{VOLUME + 0x290, "x"}}, "an FSInfo sector (byte 0x1200) is not what mkfs.vfat writes"},
        {{{VOLUME + 0x400, "x"}}, "bytes 0x1400–0x15ff, a reserved sector of the file system, are not zero"},
        {{{VOLUME + 0xc80, "x"}},
         "the backup of the boot sector (byte 0x1c00) is not what mkfs.vfat writes"}};
    const auto expectEach = [&](const auto& rows) {
        for (const auto& [patches, line] : rows) {
            const auto lines = examine(patches);
            EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line << "\nis not in\n"
                                                                                << joined(lines, "\n");
        }
        EXPECT_EQ(joined(examine(Patches{}), "; "), "");
    };
    expectEach(damages);
    make("2200");
    expectEach(damagesOf32);
}

/// The last clusters are free.
TEST_F(KeyFormTest, KnowsWhichBlocksHoldDataAndWhose) {
    for (const auto* cylinders : {"1", "34", "2200"}) {
        make(cylinders);
        const auto key = opened("key");
        unsigned char cluster = 0; // in sectors
        ASSERT_EQ(pread(key.number(), &cluster, 1, VOLUME + 13), 1);
        MediumBytes medium(key, sizeOf(key));
        SourceFiles sources(-1);
        Differences differences;
        const Advance advance = [](std::uint64_t) {};
        const Examination image = {medium, sources, differences, advance, variation};
        const auto blocks = usedBlocks(image);
        EXPECT_EQ(joined(differences.lines(), "; "), "");
        ASSERT_EQ(blocks.size(), 1U);
        std::map<std::string, int> owners;
        for (std::uint64_t offset = 0; offset < blocks[0].size; offset += 0x200) {
            ++owners[ownerOf(image, offset)];
        }
        EXPECT_LT(owners["the free space"], 8);
        for (const auto& [owner, sectors] : {std::pair("the boot record", 1),
                                             {"the gap before the file system", 7},
                                             {"the directory 'EFI'", cluster},
                                             {"'EFI/BOOT.EFI'", cluster},
                                             {"'A name in two pieces.txt'", cluster},
                                             {"'BIG.BIN'", (5000 / 512 / cluster + 1) * cluster}}) {
            EXPECT_EQ(owners[owner], sectors) << owner;
        }
    }
}

/// Each row: what is done to a map before its own sum is set, and what it is refused for.
TEST(BlockMapTest, RefusesWhatIsNotRight) {
    enterFreshJob();
    for (const auto& row : rows("block-maps")) {
        SCOPED_TRACE(row[0]);
        prepare("head -c 16384 /dev/zero >key.img; edit='" + row[0] + "' mapped 0-1 3-3");
        EXPECT_EQ(outcomeOf([] { readBlockMap(contentOf("key.img.bmap"), 16384); }),
                  "refused: the map is not right: " + row[1]);
    }
    prepare("mapped 0-1 3-3");
    const auto text = contentOf("key.img.bmap");
    const auto ranges = readBlockMap(text, 16384);
    EXPECT_EQ(outcomeOf([&] { readBlockMap(text + " ", 16384); }),
              "refused: the map is not right: its text does not have the sum that it names");
    ASSERT_EQ(ranges.size(), 2U);
    EXPECT_EQ(ranges[1].range.offset, 3U * KEY_BLOCK);
}

/// Formatting overwrites the tables and the top directory.
TEST_F(KeyFormTest, FindsWhatFormattingWouldLeave) {
    make("1");
    const auto found = [&](std::uint64_t offset) {
        const auto key = opened("key", O_RDWR);
        write(key, offset, "SKUL\xba\xbe");
        MediumBytes medium(key, static_cast<std::uint64_t>(key.status().st_size));
        const auto here = opened(".");
        SourceFiles sources(here.number());
        Differences differences;
        const Advance advance = [](std::uint64_t) {};
        refuseLeftovers({medium, sources, differences, advance, variation}, {VOLUME, medium.size() - VOLUME});
        write(key, offset, std::string(6, '\0'));
        return joined(differences.lines(), "; ");
    };
    EXPECT_EQ(found(VOLUME + 0x4000), "");
    EXPECT_EQ(found(VOLUME + 0x8000), "bytes 0x9000–0x9005 look like crypto_LUKS");
}

/// A name that is found in any case may change its case, which these changes of a byte do not do.
TEST_F(KeyFormTest, EachByteThatChangesIsADifferenceOrKnownToVary) {
    for (const auto& [bits, cylinders] : {std::pair("12", "1"), {"16", "34"}, {"32", "2200"}}) {
        make(cylinders);
        const auto key = opened("key", O_RDWR);
        const auto size = static_cast<std::uint64_t>(key.status().st_size);
        ByteMap varying(size);
        std::map<Variation, std::uint64_t> counts;
        variation = [&](Variation kind, const ByteRange& range) {
            counts[kind] += range.size;
            EXPECT_TRUE(varying.claim(range)) << rangeText(range) << " are reported twice";
        };
        ASSERT_EQ(joined(examine(key), "; "), "");
        variation = {};
        std::uint64_t changed = 0;
        const auto stepAt = [&, is12 = bits == "12"s](std::uint64_t at) -> std::uint64_t {
            constexpr std::uint64_t twoSectors = 0x400;
            const bool isEmpty = at >= entryAt(32) && at < clusterAt(2); // in FAT 12
            return is12 ? (isEmpty ? 31 : 1) : at >= VOLUME && at - VOLUME < twoSectors ? 1 : 1331;
        };
        for (const auto& fixed : varying.unclaimed()) {
            const std::uint64_t end = fixed.offset + fixed.size;
            for (auto at = fixed.offset; at < end; at += stepAt(at) * BYTES_APART) {
                unsigned char byte = 0;
                ASSERT_EQ(pread(key.number(), &byte, 1, static_cast<off_t>(at)), 1);
                for (const unsigned flip : {1U, 0xffU}) {
                    write(key, at, std::string(1, static_cast<char>(byte ^ flip)));
                    EXPECT_FALSE(examine(key).empty()) << std::hex << at << " may become " << (byte ^ flip);
                    ++changed;
                }
                write(key, at, std::string(1, static_cast<char>(byte)));
            }
        }
        std::cerr << "FAT " << bits << ": " << changed << " changes; bytes that vary:";
        for (const auto& [kind, bytes] : counts) {
            std::cerr << " " << static_cast<int>(kind) << ":" << bytes;
        }
        std::cerr << "\n";
    }
}

/// Each pair is from a key that the kernel has filled.
TEST_F(KeyFormTest, KnowsTheShortNamesOfTheKernel) {
    const std::pair<const char16_t*, const char*> names[] = {{u"$dollar", "$DOLLAR    "},
                                                             {u"ABCDEFGHIJ", "ABCDEF~1   "},
                                                             {u"ABC\u00e9.TXT", "ABC\x90    TXT"},
                                                             {u"UPPER DIR", "UPPERD~1   "},
                                                             {u"a", "A          "},
                                                             {u"a.b.c", "AB~1    C  "},
                                                             {u"abcdefgh.ijk", "ABCDEFGHIJK"},
                                                             {u"abcdefghi.ijk", "ABCDEF~2IJK"},
                                                             {u"name.WITH", "NAME~1  WIT"},
                                                             {u"plus+comma,[x]=;.txt", "PLUS_C~1TXT"},
                                                             {u"x y", "XY~1       "},
                                                             {u"\u65e5\u672c\u8a9e.txt", "___~1   TXT"},
                                                             {u"\U0001f600.bin", "__~1    BIN"},
                                                             {u"..two", "TWO~1      "},
                                                             {u"same beginning 179.dat", "SA0662~8DAT"}};
    for (const auto& [longName, text] : names) {
        FatShortName name{};
        std::copy_n(text, name.size(), name.begin());
        EXPECT_TRUE(isFromLongName(name, longName)) << text;
        ++name[0];
        EXPECT_FALSE(isFromLongName(name, longName)) << text;
    }
}

} // namespace
