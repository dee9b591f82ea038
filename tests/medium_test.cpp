#include "frontend.h"
#include "medium/contents.h"
#include "medium/readBack.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

using namespace velacreate;
namespace fs = std::filesystem;

namespace {

using MediumTest = JobTest;

MediumKind mediumOf(const std::string& name) {
    static const std::map<std::string, MediumKind> KINDS = {{"image", MediumKind::image},
                                                            {"ppc", MediumKind::powerPcImage},
                                                            {"key", MediumKind::key},
                                                            {"package", MediumKind::netbootDirectory}};
    return KINDS.at(name);
}

/// What is not on the medium though it is in the package's boot directory or was chosen, what takes the place
/// of something, and what a package's own directory has and lacks.
std::string contentsText(MediumKind medium, const Lines& chosen) {
    const ToolPackage package("work/tool.zip", CloneImages::wanted);
    const UpdateFiles updates("work", chosen, package);
    const Contents contents = contentsOf(medium, package, updates);
    std::set<std::string> gone;
    for (const auto& [name, entry] : package.entries()) {
        if (name.compare(0, 5, "boot/") == 0) {
            gone.insert(name.substr(5));
        }
    }
    for (const auto& [place, entry] : updates.entries()) {
        gone.insert(place);
    }
    std::uint64_t size = 0;
    for (const auto& [place, part] : contents.tree) {
        EXPECT_EQ(gone.erase(place), 1U) << place;
        const bool isUpdate = updates.entries().count(place) != 0 && !part.isDirectory;
        EXPECT_TRUE(!isUpdate || part.source == place) << place;
        size += part.size;
    }
    Lines loose;
    for (const auto& [place, part] : contents.besideArchive) {
        EXPECT_EQ(part.source, "boot/" + place);
        loose.push_back(place);
        size += part.size;
    }
    EXPECT_EQ(contents.size(), size);
    const std::pair<const char*, Lines> clauses[] = {{"without ", {gone.begin(), gone.end()}},
                                                     {"replaced ", contents.replaced},
                                                     {"beside ", loose},
                                                     {"missing ", contents.missing}};
    Lines found;
    for (const auto& [what, places] : clauses) {
        if (!places.empty()) {
            found.push_back(what + joined(places, " "));
        }
    }
    return joined(found, "; ");
}

/// Each row: the media, what is made before, what is chosen, and what that makes of the contents.
TEST_F(MediumTest, KnowsWhatAMediumHolds) {
    for (const auto& row : rows("contents")) {
        for (const auto& medium : words(row[0])) {
            SCOPED_TRACE(medium + " | " + row[1] + " | " + row[2]);
            enterFreshJob();
            prepare(row[1]);
            EXPECT_EQ(outcomeOf([&] { return contentsText(mediumOf(medium), words(row[2])); }), row[3]);
        }
    }
}

/// A job directory in /srv/job with everything that an image holds, and staged/ as it should be on it.
struct ReadBackTest : MediumTest {
    static Tree jobDirectory() {
        enterFreshJob();
        prepare(R"(cd work; mkdir -p boot deep/1/2/3/4/5/6/7/8/9 empty many; cp -p a.txt boot/.hidden
            zip -qr tool.zip boot/.hidden; rm -r boot; mkdir -p many/bare/inner
            printf same >same; cp same many/same; printf same >many/same3; ln many/same3 many/same4
            touch nothing many/nothing many/nothing2; head -c 300000 /dev/urandom >big; ln big many/big
            cp big deep/1/2/3/4/5/6/7/8/9/deepest; echo x >'many/ä [ü] $x; "q" .txt'; echo dot >many/.hidden
            echo back >'many/long name with blanks and a great many letters, more than what Joliet would take of it'
            truncate -s 200k many/hole; cp same many/Same)");
        const ToolPackage package("work/tool.zip", CloneImages::unwanted);
        const UpdateFiles updates(
            "work", {"a.txt", "sub/d.txt", "deep", "empty", "many", "same", "nothing", "big"}, package);
        updates.copyTo(opened(".").number(), [](std::uint64_t) {});
        shell("unzip -q work/tool.zip 'boot/*'; mkdir staged");
        Tree tree = contentsOf(MediumKind::image, package, updates).tree;
        for (const auto& [place, part] : tree) {
            if (part.isDirectory) {
                fs::create_directories("staged/" + place);
            } else {
                fs::copy_file(part.source, "staged/" + place);
            }
        }
        shell("cp -a /srv/job /srv/whole");
        return tree;
    }

    static Tree enter() {
        static const Tree TREE = jobDirectory();
        shell("cd /srv; rm -rf job; cp -a whole job");
        fs::current_path("/srv/job");
        return TREE;
    }

    /// Makes a medium of staged/ as a job would, in a form: an image of either tool, an archive, a directory.
    static void make(const std::string& form) {
        static const std::map<std::string, std::string> TOOLS = {
            {"xorriso",
             "HOME=/nonexistent xorriso -as mkisofs -D -J -joliet-long -rational-rock -omit-period -e "
             "efibootimg -c boot.catalog -no-emul-boot -boot-load-size 4 -o medium staged"},
            {"genisoimage",
             "genisoimage -U -D -J -joliet-long -rational-rock -omit-period -o medium -chrp-boot "
             "-prep-boot ppc/chrp/yaboot staged"},
            {"zip", "mkdir medium && cd staged && zip -qry ../medium/ks *"},
            {"directory", "mv staged medium"}};
        shell("(" + TOOLS.at(form) + ") >tool.log 2>&1");
    }

    static std::string compare(const std::string& form, const Tree& tree) {
        Told told;
        const Descriptor here = opened(".");
        const Descriptor medium = opened("medium");
        Contents contents;
        contents.tree = tree;
        const ToolPackage package("work/tool.zip", CloneImages::unwanted);
        SourceFiles sources(here.number());
        const auto head = headOfKeys(package);
        const Comparison comparison = {sources, head, contents, {medium, sizeOf(medium)}, told.advance};
        Findings findings;
        if (form == "directory") {
            compareDirectory(comparison, tree, {"ignored"}, findings.differences);
        } else {
            const auto examine = form == "zip"           ? compareNetbootDirectory(comparison, findings)
                                 : form == "genisoimage" ? comparePowerPcImage(comparison, findings)
                                                         : compareEfiImage(comparison, findings);
            examine(findings);
        }
        const auto differences = findings.differences.lines();
        std::uint64_t size = 0;
        for (const auto& [place, part] : tree) {
            size += part.size;
        }
        EXPECT_LE(told.bytes, size);
        EXPECT_TRUE(!differences.empty() || told.bytes == size);
        return joined(differences, "; ");
    }
};

/// Each row: what is done to the files before the medium is made of them, and what reading it back finds,
/// whatever the medium's form; a form in front of the lines is for that one.
TEST_F(ReadBackTest, FindsEachDifference) {
    for (const auto& row : rows("staged-damage")) {
        for (const std::string form : {"xorriso", "genisoimage", "zip", "directory"}) {
            SCOPED_TRACE(form + " | " + row[0]);
            const Tree tree = enter();
            prepare("cd staged; " + row[0]);
            make(form);
            const auto own = std::find_if(row.begin() + 1, row.end(), [&form](const std::string& cell) {
                return cell.compare(0, form.size() + 2, form + ": ") == 0;
            });
            EXPECT_EQ(outcomeOf([&] { return compare(form, tree); }),
                      own == row.end() ? row[1] : own->substr(form.size() + 2));
        }
    }
}

/// Each row: a form, what is done to the medium or to the job directory afterwards, and what is found.
TEST_F(ReadBackTest, FindsDamage) {
    for (const auto& row : rows("medium-damage")) {
        SCOPED_TRACE(row[0] + " | " + row[1]);
        const Tree tree = enter();
        make(row[0]);
        prepare(row[1]);
        expectText(outcomeOf([&] { return compare(row[0], tree); }), row[2]);
    }
}

} // namespace
