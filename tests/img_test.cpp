#include "harness.h"

#include "bootableimg.h"

using VelaCreation::BootableIMG;

namespace {

const std::string WORK = "/srv/job/work";

using ImgTest = JobTest;

TEST_F(ImgTest, EveryCommandFails) {
    sweep<BootableIMG>("img", [](BootableIMG& img) {
        recording.standIns.emplace_back("cd ISOCreation && zip", "echo zipped >stdout.txt");
        Lines files = {"a.txt", "..", "a.txt"};
        const int result = img.CreateIMG(WORK, "out", files, "tool.zip");
        EXPECT_EQ(files, (Lines{"a.txt", "a.txt"}));
        return result;
    });
}

TEST_F(ImgTest, EndsAtWhatIsMissingOrRefused) {
    for (const auto& row : rows("img-refusals")) {
        enterFreshJob();
        RecordingLogger logger;
        logger.answer = std::stoi(row[4]);
        BootableIMG img(logger);
        Lines files = words(row[2]);
        EXPECT_EQ(img.CreateIMG(row[0], row[1], files, row[3]), std::stoi(row[5]));
        EXPECT_EQ(recording.events.back(), row[6]);
        expectState(img);
    }
}

TEST_F(ImgTest, ThePackageHoldsWhatWasStaged) {
    shell("mkdir 'my out' && touch 'my out/old' && zip -qd work/tool.zip boot/img3a");
    RecordingLogger logger;
    BootableIMG img(logger);
    Lines files = {"sub/d.txt", "folder"};
    ASSERT_EQ(img.CreateIMG(WORK, "/srv/job/my out", files, "tool.zip"), 0);
    shell("cd '/srv/job/my out' && unzip -Z1 ks.zip | grep -v '/$' | sort | tr '\\n' ' ' >/srv/job/archive "
          "&& test \"$(echo *)\" ="
          " 'bsb.msg bsb1.lss grub.cfg img2a ks.zip ksrootfs pxelinux.0 splash.xpm.gz unicode.pf2'");
    EXPECT_EQ(contentOf("/srv/job/archive"), "folder/inner/e.txt grub.cfg ppc/chrp/yaboot sub/d.txt ");
}

} // namespace
