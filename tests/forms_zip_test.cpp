#include "forms/zipReader.h"
#include "frontend.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <set>

#include <sys/mman.h>

using namespace velacreate;
namespace fs = std::filesystem;

namespace {

const std::string LOCAL = "PK\3\4";
const std::string ENTRY = "PK\1\2";
const std::string END = "PK\5\6";

Tree treeOf(const std::string& directory) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const auto path = entry.path().string();
        tree[path.substr(directory.size() + 1)] = {path, entry.is_directory() ? 0 : entry.file_size(),
                                                   entry.is_directory()};
    }
    return tree;
}

/// @return an archive of staged/ as the library makes it
std::string packed(const std::string& environment = "") {
    shell("rm -f ks.zip; cd staged && " + environment +
          " '" TESTS_DIR "/../toolkit/zip' -r ../ks * >/dev/null");
    return contentOf("ks.zip");
}

struct ZipTest : JobTest {
    ZipTest() {
        shell(
            R"(mkdir -p staged/a/deep/empty staged/update; cd staged; echo same >same; : >nothing; chmod 400 nothing
            seq 1 300 >a/numbers; head -c 70000 /dev/urandom >a/deep/random; echo x >"update/ä ö"; mkdir é
            head -c 90000 /dev/zero >update/zeros)");
        tree = treeOf("staged");
    }

    std::string examine(const std::string& archive) {
        const Descriptor file(memfd_create("ks.zip", MFD_CLOEXEC));
        writeAll(file, archive.data(), archive.size(), "ks.zip");
        MediumBytes medium(file, archive.size());
        const Descriptor here = opened(".");
        SourceFiles sources(here.number());
        Differences differences;
        examineZip({medium, sources, differences, m_told.advance, report}, tree);
        return joined(differences.lines(), "; ");
    }

    Told m_told;
    Tree tree;
    ReportVariation report;
};

TEST_F(ZipTest, AcceptsWhatZipWrites) {
    for (const std::string environment :
         {"", "SOURCE_DATE_EPOCH=1700000000", "SOURCE_DATE_EPOCH=1", "TZ=Asia/Tokyo"}) {
        EXPECT_EQ(examine(packed(environment)), "") << environment;
        EXPECT_EQ(m_told.bytes, 90000U + 70000 + 1092 + 5 + 2) << environment;
        m_told.bytes = 0;
    }
}

TEST_F(ZipTest, AcceptsLargeFilesThatAreStoredWhereTheyDoNotShrink) {
    shell("cd staged; head -c 2M /dev/urandom >'large random '; seq 300000 >'large numbers'; "
          "while cat " TESTS_DIR "/../frontend/*/*.cpp; do :; done | head -c 17M >'large text'");
    tree = treeOf("staged");
    EXPECT_EQ(examine(packed()), "");
    shell("unzip -Z ks.zip 'large*' | grep -o '\\(stor\\|def.\\).*$' | cut -c 1-4,21- | tr '\\n' ';' >found;"
          " test \"$(cat found)\" = 'stor large random ;defF large numbers;defN large text;'");
}

TEST_F(ZipTest, AcceptsManyMembers) {
    shell("rm -r staged/*; mkdir staged/d; cd staged/d; seq -f %06g 100000 | xargs touch");
    tree = treeOf("staged");
    EXPECT_EQ(examine(packed()), "");
}

std::size_t placeOf(const std::string& archive, const std::string& signature, const std::string& name) {
    auto place = archive.find(signature);
    while (signature != END &&
           archive.compare(place + (signature == LOCAL ? 30 : 46), name.size(), name) != 0) {
        place = archive.find(signature, place + 1);
    }
    return place;
}

const std::string BOTH = "a field's place in the local header stands for both headers";

struct Damage {
    std::string header;
    std::string name;
    std::size_t field;
    std::string bytes;
    std::string line;
};

void damage(std::string& archive, const Damage& damage) {
    const auto put = [&](const std::string& header, std::size_t field) {
        archive.replace(placeOf(archive, header, damage.name) + field, damage.bytes.size(), damage.bytes);
    };
    if (damage.header != BOTH) {
        put(damage.header, damage.field);
    } else {
        put(LOCAL, damage.field);
        put(ENTRY, damage.field + 2);
    }
}

using namespace std::string_literals;

const Damage DAMAGES[] = {
    {LOCAL, "same", 0, "x", "the local header of 'same' differs in the signature"},
    {LOCAL, "same", 4, "\x14", "the local header of 'same' differs in the needed version"},
    {LOCAL, "same", 6, "\x08", "the local header of 'same' differs in the flags"},
    {LOCAL, "same", 26, "\x03", "the local header of 'same' differs in the length of the name"},
    {LOCAL, "same", 30, "S", "the local header of 'same' differs in the name"},
    {LOCAL, "same", 37, "\x01", "the local header of 'same' differs in the size of the Unix times"},
    {LOCAL, "same", 39, "x", "the local header of 'same' differs in the Unix time"},
    {ENTRY, "same", 4, "\x1f", "the directory entry of 'same' differs in the version of the maker"},
    {ENTRY, "same", 30, "\x17", "the directory entry of 'same' differs in the length of the extra fields"},
    {ENTRY, "same", 32, "\x01", "the directory entry of 'same' differs in the length of the comment"},
    {ENTRY, "same", 34, "\x01", "the directory entry of 'same' differs in the disk"},
    {ENTRY, "same", 37, "\x01", "the directory entry of 'same' differs in the internal attributes"},
    {ENTRY, "same", 38, "\x02", "the directory entry of 'same' differs in the attributes for MS-DOS"},
    {ENTRY, "same", 40, "\xa4\x89", "the directory entry of 'same' differs in the file type and mode"},
    {ENTRY, "same", 40, "\xff\xa1", "the directory entry of 'same' differs in the file type and mode"},
    {ENTRY, "same", 40, "\xa4\x61", "the directory entry of 'same' differs in the file type and mode"},
    {ENTRY, "same", 40, "\xa4\x81", ""},
    {ENTRY, "a/", 40, "\xff\x41", ""},
    {ENTRY, "a/", 40, "\xff\x45", ""},
    {ENTRY, "a/", 40, "\xff\x43", "the directory entry of 'a/' differs in the file type and mode"},
    {ENTRY, "same", 42, "\x01", "the directory entry of 'same' differs in the offset"},
    {ENTRY, "same", 36, "\x01"s, ""},
    {ENTRY, "nothing", 36, "\x01"s, "the directory entry of 'nothing' differs in the mark for text"},
    {BOTH, "same", 8, "\x0c", "the directory entry of 'same' differs in the method"},
    {BOTH, "same", 10, "time", ""},
    {BOTH, "same", 14, "\x01", "the headers of 'same' have another checksum than its content"},
    {BOTH, "same", 18, "\x04", "the directory entry of 'same' differs in the stored size"},
    {BOTH, "same", 18, "\x04\0\0\0\x04"s,
     "the directory entry of 'update/zeros' differs in the offset; update file 'same' differs"},
    {BOTH, "same", 18, "\xff\xff\xff\x7f\xff\xff\xff\x7f", "'same' reaches into the directory"},
    {BOTH, "same", 18, "\xff\xff\xff\xff\xff\xff\xff\xff", "'same' reaches into the directory"},
    {BOTH, "a/numbers", 6, "\x01", "the directory entry of 'a/numbers' differs in the flags"},
    {BOTH, "a/", 6, "\x04", "the directory entry of 'a/' differs in the flags"},
    {BOTH, "nothing", 6, "\x04", "the directory entry of 'nothing' differs in the flags"},
    {BOTH, "a/numbers", 8, "\0"s, "the directory entry of 'a/numbers' differs in the needed version"},
    {LOCAL, "a/deep/random", 71, "\x80", "unused bits in the deflated data of 'a/deep/random' are not zero"},
    {BOTH, "a/numbers", 22, "\x45", "update file 'a/numbers' differs"},
    {BOTH, "\xc3\xa9/", 7, "\x08", "the directory entry of 'update/\xc3\xa4 \xc3\xb6' differs in the flags"},
};

struct Change {
    std::function<void(std::string& archive)> make;
    std::string line;
};

/// Writes a number into a field of the end record.
void setInEnd(std::string& archive, std::size_t field, std::size_t number) {
    for (std::size_t i = 0; i < 4; ++i) {
        archive[archive.size() - 22 + field + i] = static_cast<char>(number >> i * 8 & 0xff);
    }
}

/// Puts bytes into an archive, and moves the directory in the end record.
void insert(std::string& archive, std::size_t place, const std::string& bytes) {
    setInEnd(archive, 16, archive.find(ENTRY) + bytes.size());
    archive.insert(place, bytes);
}

const Change CHANGES[] = {
    {[](auto& a) { a.clear(); }, "the end record is missing"},
    {[](auto& a) { a = std::string(40000, '\0'); }, "the end record differs in the signature"},
    {[](auto& a) { a.insert(0, "x"); }, "the directory does not end where the end record begins"},
    {[](auto& a) { insert(a, 0, "x"); }, "the local header of 'a/' differs in the signature"},
    {[](auto& a) { a += 'x'; }, "the end record differs in the signature"},
    {[](auto& a) { a.replace(a.size() - 2, 2, "\1\0x"s); }, "the end record differs in the signature"},
    {[](auto& a) { insert(a, a.find(ENTRY), "x"); }, "byte 0x117ef belong to nothing"},
    {[](auto& a) { a += a.substr(a.find(ENTRY)); }, "the directory does not end where the end record begins"},
    {[](auto& a) { a.insert(a.size() - 22, "x"); }, "the directory does not end where the end record begins"},
    {[](auto& a) { a[a.size() - 1] = 1; }, "the end record differs in the length of the comment"},
    {[](auto& a) { a[a.size() - 18] = 1; }, "the end record differs in the disks"},
    {[](auto& a) { a[a.size() - 14] = 10; }, "the end record differs in the number of members on this disk"},
    {[](auto& a) { a[a.size() - 14] = a[a.size() - 12] = 10; },
     "the end record differs in the number of members"},
    {[](auto& a) {
         const auto size = a.size() - 22 - a.find(ENTRY);
         setInEnd(a, 12, size - 1);
         setInEnd(a, 16, a.find(ENTRY) + 1);
     },
     "bytes 0x117f0–0x11b49 are no directory entry"},
};

TEST_F(ZipTest, FindsDamage) {
    const auto right = packed();
    auto marked = right; // as where zip's locale is installed
    for (const std::string name : {"\xc3\xa9/", "update/\xc3\xa4 \xc3\xb6"}) {
        damage(marked, {BOTH, name, 7, "\x08", ""});
    }
    EXPECT_EQ(examine(marked), "");
    for (const auto& row : DAMAGES) {
        auto archive = right;
        damage(archive, row);
        expectText(examine(archive), row.line);
    }
    for (const auto& row : CHANGES) {
        auto archive = right;
        row.make(archive);
        expectText(examine(archive), row.line);
    }
}

/// A deflated file alone, whose stored size and content are not what its headers and blocks tell.
TEST_F(ZipTest, FindsDamagedData) {
    shell("rm -r staged/*; head -c 40000 /dev/zero >staged/z");
    tree = treeOf("staged");
    const auto right = packed();
    const auto size = right.find(ENTRY) - 59; // of the deflated data
    const auto resized = [&](std::size_t other) {
        auto archive = right;
        damage(archive, {BOTH, "z", 18, std::string(1, static_cast<char>(other)), ""});
        archive.replace(59, size,
                        archive.substr(59, std::min(size, other)) +
                            std::string(other - std::min(size, other), 'x'));
        setInEnd(archive, 16, archive.find(ENTRY));
        return archive;
    };
    EXPECT_EQ(examine(resized(size)), "");
    EXPECT_EQ(examine(resized(size + 2)), rangeText({59 + size, 2}) + " belong to nothing");
    EXPECT_EQ(examine(resized(size - 1)), "update file 'z' differs");
    EXPECT_EQ(examine(resized(0)), "update file 'z' differs");
    auto withEmptyBlock = resized(size + 5);
    const auto stored = "\0\0\0\xff\xff"s + right.substr(59, size);
    EXPECT_EQ(examine(withEmptyBlock.replace(59, stored.size(), stored)),
              "the deflated data of 'z' have an empty block");

    shell("mv staged/z z; head -c 90M /dev/zero >staged/z"); // a bomb
    auto bomb = packed();
    damage(bomb, {BOTH, "z", 22, "\x40\x9c\0\0"s, ""});
    tree.at("z").source = "z";
    m_told.bytes = 0;
    EXPECT_EQ(examine(bomb), "update file 'z' differs");
    EXPECT_LE(m_told.bytes, 40000U);
}

/// Each row: what zip is called with, and what is found.
TEST_F(ZipTest, FindsOtherMembers) {
    const std::pair<const char*, const char*> rows[] = {
        {"touch x", "'x' is there, but should not be"},
        {"mkdir x; touch x/y", "'x' is there, but should not be"},
        {"rm same", "update file 'same' is missing"},
        {"rm -r a", "update directory 'a' is missing"},
        {"echo othe >same", "update file 'same' differs"},
        {"echo longer >same", "update file 'same' differs"},
        {"rm same; mkdir same", "update file 'same' differs"},
        {"rmdir a/deep/empty; touch a/deep/empty", "update directory 'a/deep/empty' differs"},
        {"head -c 90000 /dev/zero | tr '\\0' x >update/zeros", "update file 'update/zeros' differs"},
        {"head -c 90M /dev/zero >update/zeros", "update file 'update/zeros' differs"},
        {"head -c 89999 /dev/zero >update/zeros", "update file 'update/zeros' differs"},
        {"chmod u+s same", "the directory entry of 'same' differs in the file type and mode"},
        {"chmod g+s a", ""},
        {"chmod g+s same", "the directory entry of 'same' differs in the file type and mode"},
        {"chmod +t a", "the directory entry of 'a/' differs in the file type and mode"},
    };
    shell("cp -a staged as-it-should-be");
    for (auto& [place, part] : tree) {
        part.source.replace(0, 6, "as-it-should-be");
    }
    for (const auto& [command, line] : rows) {
        shell("rm -r staged; cp -a as-it-should-be staged; cd staged; " + std::string(command));
        EXPECT_EQ(examine(packed()), line) << command;
    }
}

/// Each row: how zip is called in staged/, and what is found.
TEST_F(ZipTest, FindsOtherForms) {
    const std::pair<const char*, const char*> rows[] = {
        {"zip -qrD ../ks .", "*update directory 'a' is missing; update directory 'update' is missing; update "
                             "directory 'é' is missing"},
        {"zip -qr ../ks . && zip -qz ../ks <same", "the end record differs in the signature"},
        {"find . -depth | zip -q ../ks -@", "*; 'a/deep' comes before its directory"},
        {"zip -qr - . | cat >../ks.zip", "the directory entry of '*"},
        {"zip -qr -Z bzip2 ../ks .", "*' differs in the needed version"},
        {"zip -qre -P x ../ks .", "*' differs in the flags"},
        {"zip -qr -9 ../ks .", "*' differs in the flags"},
        {"zip -qr -0 ../ks .", ""},
        {"zip -qr ../ks .", ""},
        {"zip -qr -2 ../ks .", ""},
        {"zip -qr ../ks . && zip -qA ../ks.zip", ""},
        {"genisoimage -quiet -o ../ks.zip .", "the end record differs in the signature"},
    };
    for (const auto& [command, line] : rows) {
        shell("rm -f ks.zip; cd staged; " + std::string(command) + " 2>/dev/null");
        SCOPED_TRACE(command);
        expectText(examine(contentOf("ks.zip")), line);
    }
}

/// Each bit of a small archive, changed alone, makes a difference, unless it was told that its byte may vary.
TEST_F(ZipTest, FindsEachBit) {
    shell("rm -r staged/update/zeros staged/a/deep/random");
    tree = treeOf("staged");
    std::map<Variation, std::uint64_t> variations;
    std::set<std::uint64_t> varying;
    report = [&](Variation variation, const ByteRange& range) {
        variations[variation] += range.size;
        for (std::uint64_t i = 0; i < range.size; ++i) {
            varying.insert(range.offset + i);
        }
    };
    auto archive = packed();
    EXPECT_EQ(examine(archive), "");
    report = nullptr;
    for (const auto& [variation, size] : variations) {
        std::cerr << "variation " << static_cast<int>(variation) << ": " << size << " of " << archive.size()
                  << " bytes\n";
    }
    for (std::size_t bit = 0; bit < archive.size() * 8; ++bit) {
        auto& byte = archive[bit / 8];
        byte = static_cast<char>(byte ^ 1 << bit % 8);
        EXPECT_TRUE(varying.count(bit / 8) > 0 || !examine(archive).empty()) << "bit " << bit;
        byte = static_cast<char>(byte ^ 1 << bit % 8);
    }
}

} // namespace
