#include "bootableiso.h"
#include "forms/isoReader.h"
#include "frontend.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>

#include <sys/mman.h>

using namespace velacreate;
namespace fs = std::filesystem;
using namespace std::literals;

namespace {

constexpr std::size_t BLOCK = 2048;
constexpr auto EFI = IsoPlatform::efi;
constexpr auto PPC = IsoPlatform::powerPc;

/// Everything that is in staged/.
Tree staged() {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator("staged")) {
        const bool isDirectory = entry.is_directory();
        tree[entry.path().string().substr(7)] = {entry.path(), isDirectory ? 0 : entry.file_size(),
                                                 isDirectory};
    }
    return tree;
}

/// Runs the tool as the library does.
std::string imageOf(IsoPlatform platform, const std::string& environment = "LC_ALL=C.UTF-8") {
    using VelaCreation::BootableISO;
    const std::string launcher = environment + " " TESTS_DIR "/../toolkit/xorriso";
    shell("rm -f medium; (" + launcher +
          (platform == EFI ? BootableISO::XORRISO_PAR_LINUX + "medium staged"
                           : BootableISO::XORRISO_PAR_PPC +
                                 "medium -chrp-boot -prep-boot staged/ppc/chrp/yaboot staged") +
          ") >tool.log 2>&1");
    return contentOf("medium");
}

/// An image in memory.
class Image {
public:
    explicit Image(const std::string& bytes)
        : m_file(memfd_create("image", MFD_CLOEXEC)), m_size(bytes.size()) {
        writeAll(m_file, bytes.data(), bytes.size(), "image");
    }

    void put(std::size_t offset, const std::string& bytes) const {
        ASSERT_EQ(pwrite(m_file.number(), bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
    }

    Lines examine(const Tree& tree, IsoPlatform platform, const ReportVariation& variation = {},
                  BehindVolume behind = BehindVolume::nothing) const {
        MediumBytes medium(m_file, m_size);
        Differences differences;
        const Told told;
        EXPECT_EQ(platformOfImage(medium) == platform || platformOfImage(medium) == IsoPlatform::none, true);
        examineIso({medium, m_sources, differences, told.advance, variation}, tree, platform, behind);
        return differences.lines();
    }

private:
    Descriptor m_file;
    std::size_t m_size;
    Descriptor m_here = opened(".");
    mutable SourceFiles m_sources{m_here.number()};
};

struct IsoFormTest : JobTest {
    static void stage(const std::string& commands) {
        enterFreshJob();
        prepare("mkdir -p staged/ppc/chrp staged/sub/inner; cd staged; printf loader >ppc/chrp/yaboot; "
                "printf loader >efibootimg; printf a >a.txt; : >sub/none; " +
                commands);
    }

    /// @return the differences of an image of what is staged from what was expected
    static std::string differencesOf(IsoPlatform platform, const Tree& tree,
                                     const std::string& environment = "LC_ALL=C.UTF-8") {
        return joined(Image(imageOf(platform, environment)).examine(tree, platform), "; ");
    }
};

TEST_F(IsoFormTest, AcceptsWhatTheToolsWrite) {
    const std::string names =
        "mkdir -p d1/d2/d3/d4/d5/d6/d7/d8/d9/d10 'dir.with.dots' 'a b' .hidden; mkdir -p $(printf 'd%.0s' "
        "{1..200})/x; "
        "touch Ä Ö 'ä [ü] $x' 'a;b' .a .abc .keep a. a.. a+b A_B x.tar.gz README Readme; "
        "head -c 5000 /dev/urandom >d1/d2/big; for i in {1..30}; do echo $i >collide$i.text; done; ";
    const Lines cases = {"true", names, "for i in {1..240}; do echo $i >$i$(printf 'n%.0s' $(seq $i)); done",
                         "seq 12000 | split -l1 -a5 - sub/inner/many; head -c 40M /dev/zero >efibootimg",
                         "printf 1 >'" + std::string(110, 'p') + ".ext'; printf 2 >'P." +
                             std::string(110, 'p') + "'"};
    for (const auto& commands : cases) {
        stage(commands);
        for (const auto platform : {EFI, PPC}) {
            for (const std::string environment :
                 {"LC_ALL=C.UTF-8", "LC_ALL=C", "SOURCE_DATE_EPOCH=1700000000"}) {
                SCOPED_TRACE(commands + " " + environment + (platform == EFI ? " EFI" : " PPC"));
                EXPECT_EQ(differencesOf(platform, staged(), environment), "");
            }
        }
    }
}

/// Names that collide in the Joliet tree are numbered by xorriso. genisoimage makes no image of them.
TEST_F(IsoFormTest, AcceptsNumberedNames) {
    stage("for i in {10..40}; do printf $i >$(printf 'n%.0s' {1..110})$i; mkdir $(printf 'd%.0s' "
          "{1..110})$i; done; "
          "printf 1 >'x;'; printf 2 >'x:'; touch inv$'\\xff' inv$'\\xfe'");
    EXPECT_EQ(differencesOf(EFI, staged()), "");
}

/// Images of the same files, made by the launcher with xorriso of Debian 11 and of Debian 13.
TEST_F(IsoFormTest, AcceptsImagesOfOtherReleases) {
    stage("mkdir -p d1/d2/d3/d4/d5/d6/d7/d8/d9; touch 'ä [ü]' sub/.keep; "
          "for i in {100..220}; do echo $i >$(printf \"$i%.0s\" $(seq $((i / 3)))); done");
    for (const std::string version : {"1.5.2", "1.5.6"}) {
        shell("gzip -dc " TESTS_DIR "/media/xorriso-" + version + ".iso.gz >medium");
        EXPECT_EQ(joined(Image(contentOf("medium")).examine(staged(), EFI), "; "), "") << version;
    }
}

TEST_F(IsoFormTest, FindsOtherContents) {
    struct {
        const char* commands;
        const char* expected;
    } const cases[] = {
        {"rm a.txt", "update file 'a.txt' is missing"},
        {"rm -r sub", "update directory 'sub' is missing"},
        {"touch sub/x", "'sub/x' is there, but should not be"},
        {"echo >x", "'x' is there, but should not be"},
        {"mkdir -p x/y; echo >x/y/z", "'x' is there, but should not be"},
        {"printf b >a.txt", "update file 'a.txt' differs"},
        {"printf aa >a.txt", "update file 'a.txt' differs"},
        {": >a.txt", "update file 'a.txt' differs"},
        {"cd sub; seq 10100 | xargs touch", "more than 10000 names should not be there; *"},
        {"rm a.txt; mkdir a.txt", "update file 'a.txt' differs"},
        {"rm -r sub/inner; touch sub/inner", "update directory 'sub/inner' differs"},
        {"ln -f a.txt twin", "'twin': bytes * belong to something else, too"},
        {"rm a.txt; ln -s /etc/passwd a.txt", "'a.txt': unexpected value of *"},
        {"rm sub/none; mkfifo sub/none", "'sub/none': unexpected value of the mode*"},
    };
    for (const auto& row : cases) {
        for (const auto platform : {EFI, PPC}) {
            SCOPED_TRACE(row.commands);
            stage("printf a >twin");
            shell("cp -a staged right");
            Tree tree;
            for (auto& [path, part] : staged()) {
                tree[path] = {"right/" + path, part.size, part.isDirectory};
            }
            prepare(std::string("cd staged; ") + row.commands);
            const auto lines = Image(imageOf(platform)).examine(tree, platform);
            expectText(joined(lines, "; "), row.expected);
        }
    }
}

std::string both(std::uint32_t value) {
    return bothEndian(value, 4);
}

/// Where a text is in an image, for the time given.
std::size_t placeOf(const std::string& image, const std::string& text, int time = 1) {
    std::size_t at = 0;
    for (; time > 0; --time) {
        at = image.find(text, at + 1);
    }
    EXPECT_NE(at, std::string::npos) << text;
    return at;
}

/// A damage to a small image: bytes at a distance from a text.
struct Damage {
    IsoPlatform platform;
    std::string text;
    int distance;
    std::string bytes;
    std::string expected; ///< the first difference
};

TEST_F(IsoFormTest, FindsDamage) {
    const std::string record = "\0CD001\1EL TORITO"s;
    const std::string catalog = "\1\xef\0\0"s;
    const Damage cases[] = {
        {EFI, "\1CD001", -32000, "x", "the system area: * are not all zero"},
        {PPC, "\1CD001", -32000, "x", "the system area: bytes * are not all zero"},
        {PPC, "\x41\xff\xff\xff", 4, "\1", "the system area: unexpected value of *"},
        {PPC, "\x41\xff\xff\xff", 12, "\x80", "the system area: unexpected value of *"},
        {EFI, "\1CD001", 40, "OTHER", "the volume descriptor: unexpected value of the volume identifier"},
        {EFI, "\1CD001", 80, both(1), "there is no volume descriptor, or the volume is too small"},
        {EFI, "\1CD001", 80, both(4000000), "the volume is larger than the medium"},
        {EFI, "\1CD001", 84, "\1", "the volume descriptor: unexpected value of the volume size"},
        {EFI, "\1CD001", 120, "\2", "the volume descriptor: unexpected value of the volume set size"},
        {EFI, "\1CD001", 144, "\2",
         "the volume descriptor: unexpected value of the place of another path table"},
        {EFI, "\1CD001", 883, "x", "the volume descriptor: unexpected value of the application's part"},
        {EFI, "\2CD001", 88, "%/@", "the Joliet volume descriptor: unexpected value of the character set"},
        {EFI,
         "\xff"
         "CD001",
         0, "\2", "the end of the volume descriptors: *"},
        {EFI, "\2CD001", 0, "\0"s, "the Joliet volume descriptor: unexpected value of the type"},
        {EFI, "\1\0PPC"s, -4, "\1", "the little-endian path table: unexpected value of *"},
        {EFI, "\0\1PPC"s, -1, "\1", "the big-endian path table: unexpected value of *"},
        {EFI, "\xbe\xef", 2, "\1", "the top directory, its record of itself: unexpected value of *"},
        {EFI, "BOOT.CAT;1", -8, "\2", "'boot.catalog': it is missing"},
        {EFI, "\0a\0.\0t\0x\0t"s, -31, both(0), "'a.txt' in the Joliet tree: unexpected value of the place"},
        {EFI, "\0s\0u\0b"s, -31, both(20), "'sub' in the Joliet tree: bytes * belong to something else, too"},
        {EFI, record, 71, "\1\0\0\0"s, "'boot.catalog': it is not the boot catalog"},
        {EFI, record, 100, "x", "the boot record: *"},
        {EFI, catalog, 1, "\0"s, "the boot catalog: *"},
        {EFI, catalog, 33, "\4", "the boot catalog: *"},
        {EFI, catalog, 38, "\0"s, "the boot catalog: *"},
        {EFI, catalog, 40, "\1", "the boot catalog: *"},
        {EFI, catalog, 64, "\x91", "the boot catalog: bytes * are not all zero"},
        {EFI, "A.TXT;1", -32, "\1", "'a.txt': unexpected value of the length of the extended attributes"},
        {EFI, "A.TXT;1", -31, both(0), "'a.txt' in the Joliet tree: unexpected value of the place"},
        {EFI, "A.TXT;1", -31, both(0x7fffffff), "'a.txt' in the Joliet tree: unexpected value of the place"},
        {EFI, "A.TXT;1", -27, "\1", "'a.txt': unexpected value of the place"},
        {EFI, "A.TXT;1", -23, both(0xffffffff), "'a.txt' in the Joliet tree: unexpected value of the size"},
        {EFI, "A.TXT;1", -8, "\1", "'a.txt': unexpected value of the flags"},
        {EFI, "A.TXT;1", -8, "\4", "'a.txt': unexpected value of the flags"},
        {EFI, "A.TXT;1", -8, "\x80", "'a.txt': unexpected value of the flags"},
        {EFI, "A.TXT;1", -7, "\1", "'a.txt': unexpected value of the interleaving"},
        {EFI, "A.TXT;1", -5, "\2", "'a.txt': unexpected value of the volume number"},
        {EFI, "A.TXT;1", 0, "B", "'a.txt': unexpected identifier"},
        {EFI, "A.TXT;1", 6, "2", "'a.txt': unexpected identifier"},
        {EFI, "LONGERNA.CFG;1", 4, "4711", "'longername.cfg': unexpected identifier"},
        {EFI, "NNNNNNNN1;1", 8, "2", "'n*2': unexpected identifier"},
        {PPC, "nnn000", 5, "1", "'n*': unexpected identifier"},
        {PPC, "longer-name-in-the-Rock-Ridge-e", 30, "d", "'longer-name-in-*': unexpected identifier"},
        {EFI, "A.TXT;1", 7, "SL", "'a.txt': unexpected value of the entry of the mode"},
        {EFI, "A.TXT;1", 12, "\x8d", "'a.txt': unexpected value of the mode"},
        {EFI, "A.TXT;1", 43, "CL", "'a.txt': unexpected value of the entry of the times"},
        {PPC, "a.txt", 5, "RE", "'a.txt': unexpected value of the Rock Ridge entry"},
        {EFI, "A.TXT;1", 69 + 4, "\2", "'a.txt': unexpected value of the name"},
        {EFI, "A.TXT;1", 69 + 5, "b",
         "the top directory in the Joliet tree: 'a.txt': it is there, but should not be"},
        {EFI, "CE\x1c\1", 4, both(0xffffffff) + both(0xffffffff),
         "the top directory, its record of itself: unexpected value of *"},
        {EFI, "SUB", -31, both(20), "'sub': bytes * belong to something else, too"},
        {EFI, "SUB", -31, both(0), "'sub': block 0 has a record out of its form"},
        {EFI, "SUB", -31, both(0x7fffffff), "'sub': bytes * lie beyond the end of the volume"},
        {EFI, "SUB", -23, both(0), "'sub': the size is not that of whole blocks"},
        {EFI, "SUB", -23, both(0xfffff800), "'sub': bytes * lie beyond the end of the volume"},
        {EFI, "SUB", -33, "\0"s, "the top directory: bytes * are not all zero"},
        {EFI, "loader", 6, "x", "'efibootimg': bytes * are not all zero"},
        {PPC, "a\0\0\0\0\0\0\0\0"s, 2000, "x", "'a.txt': bytes * are not all zero"},
        {EFI, record, 100000, "x", "the padding at the end: bytes * are not all zero"},
        {PPC, "subRR", -31, both(28), "'sub': bytes * belong to something else, too"},
    };
    stage("touch longername.cfg longer-name-in-the-Rock-Ridge-entry $(printf 'n%.0s' {1..40}){1,2}");
    const Tree tree = staged();
    const std::map<IsoPlatform, std::string> images = {{EFI, imageOf(EFI)}, {PPC, imageOf(PPC)}};
    for (const auto& row : cases) {
        const auto& right = images.at(row.platform);
        const Image image(right);
        const auto offset = static_cast<long>(placeOf(right, row.text)) + row.distance;
        SCOPED_TRACE(row.text + " " + std::to_string(row.distance));
        image.put(static_cast<std::size_t>(offset), row.bytes);
        const auto lines = image.examine(tree, row.platform);
        expectText(lines.empty() ? "" : lines.front(), row.expected);
    }
}

/// Each byte that is changed is a difference, unless it was told to be a variation.
struct IsoByteTest : IsoFormTest, testing::WithParamInterface<IsoPlatform> {};

TEST_P(IsoByteTest, IsExplained) {
    stage("printf b >$(printf 'n%.0s' {1..220})");
    const Tree tree = staged();
    const auto platform = GetParam();
    const auto bytes = imageOf(platform);
    const Image image(bytes);
    std::vector<bool> varies(bytes.size());
    std::map<Variation, std::size_t> count;
    const auto report = [&](Variation variation, const ByteRange& range) {
        count[variation] += range.size;
        std::fill_n(varies.begin() + static_cast<std::ptrdiff_t>(range.offset), range.size, true);
    };
    ASSERT_EQ(image.examine(tree, platform, report), Lines());
    std::size_t changed = 0;
    for (std::size_t offset = 0; offset < bytes.size(); offset += BYTES_APART) {
        const bool isInZeros = bytes.compare(offset / BLOCK * BLOCK, BLOCK, std::string(BLOCK, '\0')) == 0;
        if (varies[offset] || (isInZeros && offset % 256 > 0 && (offset + 1) % BLOCK > 0)) {
            continue;
        }
        image.put(offset, std::string(1, static_cast<char>(bytes[offset] ^ (1 << offset % 8))));
        EXPECT_NE(image.examine(tree, platform), Lines()) << offset;
        image.put(offset, bytes.substr(offset, 1));
        ++changed;
    }
    std::cerr << bytes.size() << " bytes, " << changed << " changed";
    for (const auto& [variation, size] : count) {
        std::cerr << ", variation " << static_cast<int>(variation) << ": " << size;
    }
    std::cerr << "\n";
}
INSTANTIATE_TEST_SUITE_P(Of, IsoByteTest, testing::Values(EFI, PPC), [](const auto& platform) {
    return std::string(platform.param == EFI ? "Efi" : "PowerPc");
});

TEST_F(IsoFormTest, FailsWithoutASource) {
    stage("true");
    const Tree tree = staged();
    const Image image(imageOf(EFI));
    shell("rm staged/a.txt");
    EXPECT_EQ(outcomeOf([&] { return joined(image.examine(tree, EFI), "; "); }),
              "failed: the source 'staged/a.txt': No such file or directory");
}

TEST_F(IsoFormTest, KnowsTheEndOfTheVolume) {
    stage("true");
    const auto bytes = imageOf(EFI) + std::string(BLOCK, 'x');
    const Image longer(bytes);
    expectText(joined(longer.examine(staged(), EFI), "; "), "bytes 0x* are behind the volume's end");
    EXPECT_EQ(longer.examine(staged(), EFI, {}, BehindVolume::anything), Lines());
    for (const std::size_t descriptor : {16UL, 18UL}) { // another block between the files and the padding
        longer.put(descriptor * BLOCK + 80, both(static_cast<std::uint32_t>(bytes.size() / BLOCK)));
    }
    longer.put(bytes.size() - BLOCK, std::string(BLOCK, '\0'));
    expectText(joined(longer.examine(staged(), EFI), "; "), "bytes 0x* belong to nothing");
    for (const std::size_t size : {0UL, 100UL, 20 * BLOCK, 40 * BLOCK, bytes.size() - 2 * BLOCK}) {
        EXPECT_NE(Image(bytes.substr(0, size)).examine(staged(), EFI), Lines()) << size;
    }
}

} // namespace
