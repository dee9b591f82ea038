#include "bootableiso.h"
#include "forms/isoReader.h"
#include "forms/keyReader.h"
#include "frontend.h"
#include "inputs/toolPackage.h"
#include "medium/listedMedium.h"
#include "support/exitStatus.h"
#include "trust/description.h"
#include "trust/signature.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>

using namespace velacreate;
namespace fs = std::filesystem;

namespace {

using TrustTest = JobTest;

std::string resultOf(const std::function<std::string()>& function) {
    try {
        return outcomeOf(function);
    } catch (const Untrusted& untrusted) {
        return untrusted.what();
    }
}

/// Each row: how a file is signed, and the key that its signature is by, or why it is not good.
TEST_F(TrustTest, ChecksSignatures) {
    for (const auto& row : rows("signatures")) {
        SCOPED_TRACE(row[0]);
        enterFreshJob();
        prepare("echo text >content; mkdir keys; for key in maker keys/other third; do makeKey $key; done; "
                "mv maker.pub maker; touch keys/note\n" +
                row[0]);
        const auto key = [&] {
            const auto good =
                PublicKeys({"keys", "maker"}).requireGood(opened("content"), contentOf("content.minisig"));
            EXPECT_EQ(good.comment, "what it is");
            return good.key;
        };
        expectText(resultOf(key), row[1]);
    }
}

TEST_F(TrustTest, TakesPublicKeysOnly) {
    prepare("makeKey a; mkdir none keys; cp a.key keys/a.pub");
    const std::pair<const char*, const char*> cases[] = {
        {"a.pub", "done"},
        {"a.key", "refused: 'a.key' is no public key of minisign"},
        {"keys", "refused: 'keys/a.pub' is no public key of minisign"},
        {"none", "refused: the directory 'none' has no public key, such as 'name.pub'"},
        {"gone", "refused: 'gone': No such file or directory"},
        {"/dev/null", "refused: '/dev/null' is not a file"}};
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(outcomeOf([&, name = path] { const PublicKeys keys({name}); }), expected);
    }
}

TEST_F(TrustTest, UsesTheVeryPackageThatItChecked) {
    prepare("pack boot/file; makeKey k; sign k work/p.zip; sha256sum work/p.zip >sum");
    const PublicKeys keys({"k.pub"});
    const NamedDirectory place{"work", opened("work")};
    const ToolPackage package("work/p.zip", CloneImages::unwanted, PackageTrust{&keys, &place});
    prepare("echo other >work/p.zip; ! find work -name '.velacreate-*' | grep .");
    EXPECT_EQ(package.sum(), contentOf("sum").substr(0, 64));
    EXPECT_TRUE(package.isFile(opened("work/p.zip").status()));
}

/// Each row: what makes a list, and why it is refused.
TEST_F(TrustTest, RefusesLists) {
    const std::string right = sha256Of("a") + "  a\n" + sha256Of("b") + "  d/e f\n";
    EXPECT_EQ(resultOf([&] { return mediumListOf(sumsIn(right)); }), right);
    for (const auto& row : rows("lists")) {
        SCOPED_TRACE(row[0]);
        enterFreshJob();
        prepare("zeros=$(printf %064d 0); line() { for place; do echo \"$zeros  $place\"; done; }; (" +
                row[0] + ") >list");
        EXPECT_EQ(resultOf([] { return std::to_string(sumsIn(contentOf("list")).size()); }), row[1]);
    }
}

const std::map<std::string, MediumKind> KINDS = {{"image", MediumKind::image},
                                                 {"powerpc-image", MediumKind::powerPcImage},
                                                 {"key", MediumKind::key},
                                                 {"netboot", MediumKind::netbootDirectory}};

/// Media with lists of their files: "medium", or for the network the directory "staged".
struct ListedTest : JobTest, testing::WithParamInterface<const char*> {
    const std::string name = GetParam();
    const Kind& kind = kindOf(KINDS.at(name));
    const bool isKey = kind.isFat;
    const bool isDirectory = !kind.besideArchive.empty();
    std::vector<std::string> bootCodes;

    ListedTest() {
        prepare(R"(mkdir -p staged/D staged/EMPTY; cd staged; printf loader >efibootimg; seq 30000 >NUMBERS
            : >NONE; printf %05000d 0 >D/ZEROS; cd ..; makeKey maker)");
        if (isKey) {
            shell("cloneImage=" TESTS_DIR
                  "/../demo/clone-image; $cloneImage init1.img 1024 64 8; $cloneImage "
                  "medium 1 64 8; truncate -s 256K medium; mkfs.vfat -nMOXBOOT --offset 8 medium >/dev/null");
            // The kernel would write these names like mtools.
            bootCodes = sumsOfBootCode([](const std::string& image) { return opened(image); });
        }
        shell(isKey ? "true" : "mkdir -p staged/ppc/chrp; printf loader >staged/ppc/chrp/yaboot");
        prepare("comment='" +
                commentOf({name, 1700000000, std::string(SUM_DIGITS, '0'), bootCodes, "Depot"}) +
                "' listed maker staged");
        const std::map<std::string, std::string> tools = {
            {"image", "toolkit/xorriso " + VelaCreation::BootableISO::XORRISO_PAR_LINUX + "medium staged"},
            {"powerpc-image", "toolkit/xorriso " + VelaCreation::BootableISO::XORRISO_PAR_PPC +
                                  "medium -chrp-boot -prep-boot staged/ppc/chrp/yaboot staged"}};
        if (isKey) {
            shell("MTOOLSRC=/dev/null mcopy -s -i medium@@4096 staged/* ::");
        } else if (!isDirectory) {
            shell("LC_ALL=C.UTF-8 " TESTS_DIR "/../" + tools.at(name) + " >tool.log 2>&1");
        }
        m_keys = PublicKeys({"maker.pub"});
    }

    /// @return 0, 3 or 5
    int compare() const {
        const auto file = isDirectory ? opened("staged", O_RDONLY | O_DIRECTORY) : opened("medium");
        const auto here = opened(".", O_RDONLY | O_DIRECTORY);
        Reporter nobody(-1);
        return exitStatusAfter(
            [&] {
                return compareWithList(kind, {file, sizeOf(file)}, m_keys, here, nobody);
            },
            [](const char* /*text*/) {});
    }

    /// @return for each byte of a medium without a fault, what a reader reports it to vary as; FIXED for most
    std::vector<int> variations() const {
        Tree tree;
        for (const auto& entry : fs::recursive_directory_iterator("staged")) {
            const bool isInner = entry.is_directory();
            tree[entry.path().string().substr(7)] = {entry.path(), isInner ? 0 : entry.file_size(), isInner};
        }
        const auto file = opened("medium");
        const auto here = opened(".");
        std::vector<int> kinds(sizeOf(file), FIXED);
        MediumBytes medium(file, kinds.size());
        SourceFiles sources(here.number());
        Differences differences;
        const Told told;
        const ReportVariation report = [&](Variation variation, const ByteRange& range) {
            std::fill_n(kinds.begin() + static_cast<std::ptrdiff_t>(range.offset), range.size,
                        static_cast<int>(variation));
        };
        const Examination examination = {medium, sources, differences, told.advance, report};
        if (isKey) {
            examineKey(examination, tree, {{nullptr, bootCodes}, false, OtherFiles::none});
        } else {
            examineIso(examination, tree, platformOfImage(medium), BehindVolume::nothing);
        }
        EXPECT_EQ(joined(differences.lines(), "; "), "");
        return kinds;
    }

    static constexpr int FIXED = -1;
    static constexpr int UNTRUSTED_COMMENT = -2; ///< of the signature
    static constexpr int LETTER_CASE = -3;       ///< of a name on a key

private:
    std::optional<PublicKeys> m_keys;
};

/// A byte that is changed is found, unless it is known to vary.
TEST_P(ListedTest, ChangedBytesAreFound) {
    const char* const chosen = std::getenv("FLIPS"); // of each of the four media
    const int flips = chosen != nullptr ? std::stoi(chosen) : 500 / int{BYTES_APART};
    constexpr unsigned seed = 21;
    ASSERT_EQ(compare(), 0);
    std::map<std::string, std::vector<int>> files; // what each of their bytes varies as
    if (isDirectory) {
        for (const auto& entry : fs::recursive_directory_iterator("staged")) {
            if (entry.is_regular_file() && entry.file_size() > 0) {
                files[entry.path()] = std::vector<int>(entry.file_size(), FIXED);
            }
        }
    } else {
        files["medium"] = variations();
    }
    const std::string comment = "untrusted comment: signature from minisign secret key";
    std::mt19937 random(seed);
    std::uint64_t size = 0;
    for (auto& [file, kinds] : files) {
        size += kinds.size();
        const auto bytes = contentOf(file);
        if (const auto at = bytes.find(comment); at != std::string::npos) {
            std::fill_n(kinds.begin() + static_cast<std::ptrdiff_t>(at), comment.size(), UNTRUSTED_COMMENT);
        }
    }
    std::map<int, int> unfound;
    for (int flip = 0; flip < flips; ++flip) {
        auto at = std::uniform_int_distribution<std::uint64_t>(0, size - 1)(random);
        auto file = files.begin();
        for (; at >= file->second.size(); ++file) {
            at -= file->second.size();
        }
        const auto change = std::uniform_int_distribution<int>(1, 255)(random);
        const auto opening = opened(file->first, O_RDWR);
        unsigned char byte = 0;
        ASSERT_EQ(pread(opening.number(), &byte, 1, static_cast<off_t>(at)), 1);
        const auto put = [&, offset = at](int value) {
            const auto changed = static_cast<unsigned char>(value);
            ASSERT_EQ(pwrite(opening.number(), &changed, 1, static_cast<off_t>(offset)), 1);
        };
        put(byte ^ change);
        if (compare() == 0) {
            constexpr int caseBit = 0x20;
            const bool isCase = isKey && change == caseBit && std::isalpha(byte) != 0;
            const int variation = file->second[at] == FIXED && isCase ? LETTER_CASE : file->second[at];
            ++unfound[variation];
            EXPECT_NE(variation, FIXED) << "byte " << at << " of " << file->first;
        }
        put(byte);
    }
    std::cerr << name << ", seed " << seed << ": " << flips << " bytes changed; not found:";
    for (const auto& [variation, count] : unfound) {
        std::cerr << " " << variation << ":" << count;
    }
    std::cerr << "\n";
}
INSTANTIATE_TEST_SUITE_P(Of, ListedTest, testing::Values("image", "powerpc-image", "key", "netboot"),
                         [](const auto& medium) {
                             std::string name = medium.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

} // namespace
