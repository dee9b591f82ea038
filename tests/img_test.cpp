#include "harness.h"

#include "bootableimg.h"

using VelaCreation::BootableIMG;

namespace {

const std::string IN = ". In BootableIMG::CreateIMG()";
const std::string OUT = "/srv/job/work/out";

/// The events of a package of a.txt, asked for twice.
Lines made() {
    std::string text = R"(
2 BootableIMG::CreateIMG() starts
# 1 Copying tools for bootable PXE creation| Copying tools for bootable PXE creation...
~ 10
# 2 Extracting files to working directory| Extracting files to working directory...
~ 10
2 After changing, current working directory is /srv/job/work. In BootableIMG::CreateIMG()
$ chmod +x * >>
$ unzip -xo tool.zip >>
$ rm -rf "ISOCreation" >>
$ mkdir "ISOCreation" >>
6 Before copying boot directory of tool.zip to temp directory.
# 3 Copying files to PXE directory| Copying files to PXE directory...
~ 10
$ unalias cp >>
$ cp -fr boot/* ISOCreation >>
$ cp -rf  "a.txt" "ISOCreation/a.txt" >>
$ cp -rf  "a.txt" "ISOCreation/a.txt" >>
$ rm -rf "/srv/job/work/out" >>
$ mkdir "/srv/job/work/out" >>
)";
    for (const char* file : {"grub.cfg", "img2a", "img3a", "pxelinux.0", "ksrootfs", "bsb1.lss", "bsb.msg",
                             "unicode.pf2", "splash.xpm.gz"}) {
        text += std::string("$ cp -rf boot/") + file + " \"" + OUT + "\" >>\n";
    }
    text += "# 4 Removing temporary files| Removing temporary files...\n~ 10\n";
    for (const char* removal :
         {"rf ISOCreation/pxelinux.cfg", "f ISOCreation/img2a", "f ISOCreation/img3a",
          "f ISOCreation/pxelinux.0", "f ISOCreation/isolinux.bin", "f ISOCreation/img1a.cfg",
          "f ISOCreation/ksrootfs", "f ISOCreation/bsb1.lss", "f ISOCreation/bsb.msg",
          "f ISOCreation/splash.xpm.gz", "f ISOCreation/unicode.pf2", "f ISOCreation/efibootimg",
          "f ISOCreation/boot", "f ISOCreation/EFI"}) {
        text += std::string("$ rm -") + removal + " >>\n";
    }
    const std::string zip = "cd ISOCreation && zip -r \"" + OUT + "/ks\" * >../stdout.txt 2>&1 && cd ..\n";
    return events(text + "2 " + zip + "# 5 Zipping files| Zipping files...\n~ 10\n$ " + zip +
                  "2 zipped\n2 \n2 BootableIMG::CreateIMG() ends successfully\n");
}

struct PxeJob {
    std::string workDir = "/srv/job/work";
    std::string pxeDir = "out";
    Lines files = {"a.txt", "..", "a.txt"};
    std::string package = "tool.zip";

    int runWith(BootableIMG& img) {
        return img.CreateIMG(workDir, pxeDir, files, package);
    }
};

using ImgTest = JobTest;

TEST_F(ImgTest, EveryCommandFails) {
    const std::string bootCopy = "cp -fr boot/* ISOCreation >stdout.txt 2>&1";
    const std::string fileCopy = "cp -rf  \"a.txt\" \"ISOCreation/a.txt\" >stdout.txt 2>&1";
    const std::string copyFailed = "0 BootableMedia::copyFiles. return VELAERROR_FILE_OR_DIR_CREATE_ERROR ";
    sweep<BootableIMG>(
        made(),
        {
            {"chmod +x *", 107, {"0 Changing mode fails" + IN}},
            {"unzip", 102, {"0 Unzipping fails" + IN}},
            {"mkdir \"ISO", 106, {"0 Creating ISO_DIR_NAME directory fails" + IN}},
            {bootCopy,
             106,
             {"0 system(cmd) failed " + bootCopy, copyFailed, "0 Copying BOOT_FILE directory fails" + IN}},
            {fileCopy,
             106,
             {"0 BootableMedia::copyFiles. system(cmd) error " + fileCopy, copyFailed,
              "0 Copying source file list fails" + IN}},
            {"mkdir \"/srv", 106, {"0 Creating pxeDir directory fails" + IN}},
            {"cd ISO", 110, {"2 broken", "2 ", "0 BootableIMG::Zipping file failed" + IN}},
        },
        [](BootableIMG& img) {
            recording.standIns.push_back({"cd ISOCreation && zip", "echo zipped >stdout.txt"});
            PxeJob job;
            const int result = job.runWith(img);
            EXPECT_EQ(job.files, (Lines{"a.txt", "a.txt"}));
            return result;
        });
}

TEST_F(ImgTest, EndsAtWhatIsMissingOrRefused) {
    struct {
        const char* what;
        std::function<void(PxeJob&, RecordingLogger&)> spoil;
        int result;
        std::string lastEvent;
    } const cases[] = {
        {"no updates", [](auto& job, auto&) { job.files = {"stdout.txt"}; }, 81,
         "0 There is no update files under specified directory after filterring" + IN},
        {"no directory", [](auto& job, auto&) { job.workDir = "gone"; }, 100,
         "0 Changing working directory fails" + IN},
        {"no package", [](auto& job, auto&) { job.package = "gone.zip"; }, 100,
         "0 There is no tool.zip file" + IN},
        {"veto", [](auto&, auto& logger) { logger.answer = -1; }, -1,
         "6 Before copying boot directory of tool.zip to temp directory."},
        {"no update file", [](auto& job, auto&) { job.files = {"gone"}; }, 100,
         "0 Copying source file list fails" + IN},
        {"no output", [](auto& job, auto&) { job.pxeDir = ""; }, 106,
         "0 Creating pxeDir directory fails" + IN},
        {"output's parent", [](auto& job, auto&) { job.pxeDir = "/srv/gone/out"; }, 106,
         "0 Creating pxeDir directory fails" + IN},
    };
    for (const auto& each : cases) {
        enterFreshJob();
        RecordingLogger logger;
        BootableIMG img(logger);
        PxeJob job;
        each.spoil(job, logger);
        EXPECT_EQ(job.runWith(img), each.result) << each.what;
        EXPECT_EQ(recording.events.back(), each.lastEvent) << each.what;
    }
}

TEST_F(ImgTest, ThePackageHoldsWhatWasStaged) {
    shell("mkdir '/srv/job/my out' && touch '/srv/job/my out/old' && zip -qd work/tool.zip boot/img3a");
    RecordingLogger logger;
    BootableIMG img(logger);
    PxeJob job;
    job.pxeDir = "/srv/job/my out";
    job.files = {"sub/d.txt", "folder"};
    ASSERT_EQ(job.runWith(img), 0);
    shell("cd '/srv/job/my out' && test \"$(echo *)\" = 'bsb.msg bsb1.lss grub.cfg img2a ks.zip ksrootfs "
          "pxelinux.0 "
          "splash.xpm.gz unicode.pf2'");
    shell("unzip -Z1 '/srv/job/my out/ks.zip' | grep -v '/$' | sort >list; printf 'EFI folder/inner/e.txt "
          "grub.cfg"
          " ppc/chrp/yaboot sub/d.txt ' | tr ' ' '\\n' | grep -v EFI | diff - list");
}

} // namespace
