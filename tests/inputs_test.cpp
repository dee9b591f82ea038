#include "frontend.h"
#include "inputs/limits.h"
#include "inputs/toolPackage.h"
#include "inputs/updateFiles.h"
#include "support/texts.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <thread>

#include <sys/mount.h>
#include <sys/stat.h>

using namespace velacreate;

namespace {

using InputsTest = JobTest;

struct stat statusOf(const std::string& path) {
    return opened(path).status();
}

ToolPackage somePackage() {
    return {"work/tool.zip", CloneImages::unwanted};
}

/// The names with the files' sizes; a package that is taken for good is also written anew.
std::string takenFrom(const std::string& path) {
    const ToolPackage package(path, CloneImages::wanted);
    Lines names;
    for (const auto& [name, entry] : package.entries()) {
        names.push_back(printable(name) + (entry.isDirectory ? "/" : " " + std::to_string(entry.size)));
    }
    Told told;
    package.writeTo(opened("q.zip", O_WRONLY | O_CREAT | O_TRUNC), told.advance);
    EXPECT_EQ(told.bytes, package.unpackedSize());
    shell("unzip -tqq q.zip >/dev/null");
    return joined(names, ", ");
}

/// Each row: how p.zip is made, and what is taken from it, or why it is refused.
TEST_F(InputsTest, TakesOrRefusesPackages) {
    for (const auto& row : rows("packages")) {
        SCOPED_TRACE(row[0]);
        enterFreshJob();
        prepare(row[0]);
        expectText(outcomeOf([] { return takenFrom("work/p.zip"); }), row[1]);
    }
}

/// What unpacks a package that was written anew finds in it: names, modes, times and content.
TEST_F(InputsTest, WritesPackagesAnew) {
    prepare(R"(pack 'boot/für [1] $x.txt' boot/run boot/none boot/empty/ boot/a/b/c init1.img readme
        chmod 755 boot/run; chmod 0 boot/none; chmod 4644 boot/ok; chmod 500 boot/empty
        find boot init1.img -exec touch -d '2021-05-06 07:08:10' {} +
        rm work/p.zip; zip -qrX work/p.zip boot init1.img readme)");
    for (const auto& [wanted, image] : {std::pair(CloneImages::wanted, "init1.img 644 2021-05-06 07:08 9\n"),
                                        std::pair(CloneImages::unwanted, "")}) {
        const ToolPackage package("work/p.zip", wanted);
        Told told;
        package.writeTo(opened("q.zip", O_WRONLY | O_CREAT | O_TRUNC), told.advance);
        EXPECT_EQ(told.bytes, package.unpackedSize());
        shell(R"(rm -rf q; mkdir q; cd q; unzip -q ../q.zip; time='%TY-%Tm-%Td %TH:%TM'
            for file in boot/f* boot/ok boot/run boot/none boot/a/b/c; do cmp "$file" "../$file"; done
            find * -type d -printf "%p %m $time\n" -o -printf "%p %m $time %s\n" | LC_ALL=C sort >../found)");
        EXPECT_EQ(contentOf("found"), contentOf(TESTS_DIR "/tables/package-anew.txt") + image);
    }
}

/// Between the check and the use of what was chosen, it may change.
TEST_F(InputsTest, NoticesWhatWasChangedMeanwhile) {
    for (const std::string change : {"touch work/p.zip", "printf x >>work/p.zip",
                                     "cp -p work/p.zip q; cat q >work/p.zip; touch -r q work/p.zip"}) {
        enterFreshJob();
        prepare("pack boot/x");
        const ToolPackage package("work/p.zip", CloneImages::unwanted);
        shell(change);
        EXPECT_EQ(outcomeOf([&package] {
                      package.writeTo(opened("q.zip", O_WRONLY | O_CREAT), [](std::uint64_t) {});
                  }),
                  "refused: the tool package 'work/p.zip' was changed after it had been checked")
            << change;
    }
    for (const std::string change :
         {"printf x >>a.txt", "touch a.txt", "cp a.txt x; mv x a.txt", "rm a.txt; ln -s zephyn a.txt",
          "rm a.txt", "rm a.txt; mkfifo a.txt", "mv sub aside; ln -s aside sub", "mv sub aside"}) {
        enterFreshJob();
        const UpdateFiles updates("work", {"a.txt", "sub/d.txt"}, somePackage());
        shell("mkdir copy; cd work; " + change);
        const std::string outcome =
            outcomeOf([&] { updates.copyTo(opened("copy").number(), [](std::uint64_t) {}); });
        EXPECT_EQ(outcome.find("failed: update file '"), 0U) << change << ": " << outcome;
    }
}

/// Each row: what is made before, what is chosen below work/, then "PLACE < SOURCE" for each entry, and the
/// top-level names.
TEST_F(InputsTest, FindsUpdateFiles) {
    for (const auto& row : rows("update-files")) {
        SCOPED_TRACE(row[0] + " | " + row[1]);
        enterFreshJob();
        prepare(row[0]);
        EXPECT_EQ(outcomeOf([&row] {
                      const UpdateFiles updates("work", words(row[1]), somePackage());
                      Lines entries;
                      for (const auto& [place, entry] : updates.entries()) {
                          entries.push_back(printable(place) + " < " + printable(entry.source));
                      }
                      return joined(entries, ", ") + "; " + joined(updates.topLevel(), " ");
                  }),
                  row[2]);
    }
}

TEST_F(InputsTest, KnowsWhatIsAmongTheUpdateFiles) {
    shell("mkdir -p work/sub/folder/own work/other");
    const UpdateFiles updates("work", {"folder", "sub/folder", "sub/d.txt"}, somePackage());
    Lines held;
    for (const char* path : {"work", "work/folder", "work/folder/inner", "work/sub", "work/sub/folder",
                             "work/sub/folder/own", "work/other"}) {
        if (updates.hold(statusOf(path))) {
            held.emplace_back(path);
        }
    }
    EXPECT_EQ(held, (Lines{"work/folder", "work/folder/inner", "work/sub/folder", "work/sub/folder/own"}));
    EXPECT_TRUE(updates.contain(statusOf("work/sub/d.txt")));
    EXPECT_TRUE(updates.contain(statusOf("work/folder/inner/e.txt")));
    EXPECT_FALSE(updates.contain(statusOf("work/a.txt")));
    EXPECT_EQ(updates.fileCount(), 2U);
}

TEST_F(InputsTest, CopiesUpdateFilesWithTheirRightsAndTimes) {
    shell(
        R"(cd work; chmod 4751 a.txt; chmod 0 zephyn; chmod 0 sub; truncate -s 9M folder/hole; printf end >>folder/hole
        touch -d '2019-08-07 06:05:04.123456789' a.txt zephyn sub/d.txt; mkdir ../copy)");
    const UpdateFiles updates("work", {"a.txt", "zephyn", "sub/d.txt", "folder"}, somePackage());
    Told told;
    updates.copyTo(opened("copy").number(), told.advance);
    EXPECT_EQ(told.bytes, updates.totalSize());
    shell(R"(for file in a.txt zephyn sub/d.txt folder; do diff -r work/$file copy/$file; done
        stat -c '%n %a %y' copy/a.txt copy/zephyn copy/sub/d.txt | sed 's/ [+-]....$//' >found
        stat -c '%n %a' copy/sub copy/folder/inner >>found)");
    EXPECT_EQ(contentOf("found"), "copy/a.txt 755 2019-08-07 06:05:04.123456789\n"
                                  "copy/zephyn 644 2019-08-07 06:05:04.123456789\n"
                                  "copy/sub/d.txt 644 2019-08-07 06:05:04.123456789\n"
                                  "copy/sub 755\ncopy/folder/inner 755\n");
}

/// A file's owner may have a lease on it, and give it up or not.
TEST_F(InputsTest, WaitsForALeaseButNotForEver) {
    ASSERT_NE(std::signal(SIGIO, SIG_IGN), SIG_ERR);
    const Descriptor owned = opened("work/a.txt", O_RDWR);
    for (const bool givesUp : {true, false}) {
        ASSERT_EQ(fcntl(owned.number(), F_SETLEASE, F_WRLCK), 0);
        std::thread owner([&owned, givesUp] {
            if (givesUp) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                fcntl(owned.number(), F_SETLEASE, F_UNLCK);
            }
        });
        const std::string outcome = outcomeOf(
            [] { return std::to_string(UpdateFiles("work", {"a.txt"}, somePackage()).fileCount()); });
        owner.join();
        EXPECT_EQ(outcome, givesUp ? "1"
                                   : "refused: update file 'a.txt' cannot be read: "
                                     "Resource temporarily unavailable");
    }
    fcntl(owned.number(), F_SETLEASE, F_UNLCK);
}

TEST_F(InputsTest, OpensNothingOutsideADirectory) {
    shell("cd work; ln -s sub link; ln -s d.txt sub/link; mkdir mounted; mount --bind sub mounted");
    const Descriptor work = opened("work", O_PATH);
    for (const auto& row : rows("beneath")) {
        const int flags = O_RDONLY | O_NONBLOCK;
        EXPECT_EQ(openBeneath(work.number(), row[0], flags).isOpen(), row[1] == "yes") << row[0];
        EXPECT_EQ(openWithin(work.number(), row[0], flags).isOpen(), row[2] == "yes") << row[0];
    }
    umount2("work/mounted", MNT_DETACH);
}

/// Each row: what a FAT file system is to hold, one after another, and why it cannot.
TEST_F(InputsTest, KnowsWhatFatCannotCarry) {
    for (const auto& row : rows("fat-names")) {
        SCOPED_TRACE(row[0]);
        prepare("printf %s " + row[0] + " >places");
        expectText(outcomeOf([] { requireFatNames(lines(contentOf("places"))); }), row[1]);
    }
}

TEST_F(InputsTest, KnowsLimits) {
    constexpr std::uint64_t LIMIT = std::uint64_t{1} << 32;
    EXPECT_NO_THROW(requireFileSize("x", LIMIT - 1, "a disc"));
    EXPECT_THROW(requireFileSize("x", LIMIT, "a disc"), Refusal);
    shell("mount -t tmpfs -o size=1m none /mnt");
    EXPECT_NO_THROW(requireSpace({"/mnt", opened("/mnt")}, 1 << 20));
    EXPECT_EQ(outcomeOf([] {
                  requireSpace({"/mnt", opened("/mnt")}, (1 << 20) + 1);
              }),
              "refused: the job needs 1.0 MiB in '/mnt', where 1.0 MiB are free");
    shell("umount /mnt");
    for (const auto& row : rows("size-texts")) {
        EXPECT_EQ(sizeText(std::stoull(row[0])), row[1]);
    }
    EXPECT_EQ(sumOf(1, 2), 3U);
    EXPECT_EQ(sumOf(UINT64_MAX, UINT64_MAX), LARGEST_SUM);
    EXPECT_EQ(sumOf(LARGEST_SUM, LARGEST_SUM - 1), LARGEST_SUM);
}

/// What would upset a terminal is shown as "?", what nobody would see as an escape, and the error that is
/// told of stays the one it was.
TEST_F(InputsTest, ShowsTextsWithoutHarm) {
    const std::pair<const char*, const char*> texts[] = {
        {"\x1b[1m\x7f\n", R"(?[1m??)"},
        {"\xc2\x85-\xc2\xa0-\xc3\xa9", "?-\xc2\xa0-\xc3\xa9"},
        {"\xe9-\xc3", "?-?"},
        {"\xed\xa0\x80", R"(???)"},
        {"\xc0\x80", R"(??)"},
        {"\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80"},
        {"\u061c\u200b\u202e\u2060", R"(\u061c\u200b\u202e\u2060)"},
        {"\ufeff\ufff9\ufffb\ufffc", "\\ufeff\\ufff9\\ufffb\ufffc"},
        {"\U000e0000x\U000e007f\U000e01f0", "\\U000e0000x\\U000e007f\U000e01f0"},
        {"\u00ad\u115f\u180e\u2800\u3164\ufe0f\uffa0", R"(\u00ad\u115f\u180e\u2800\u3164\ufe0f\uffa0)"}};
    for (const auto& [text, expected] : texts) {
        EXPECT_EQ(printable(text), expected);
    }
    errno = EACCES;
    EXPECT_EQ(SystemError().about(quote("\xff")), "'?': Permission denied");
}

} // namespace
