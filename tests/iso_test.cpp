#include "harness.h"

#include "bootableiso.h"

#include <filesystem>
#include <fstream>

using VelaCreation::BootableISO;

namespace {

const std::string MADE = R"(
2 BootableISO::CreateISO() starts
# 1 Copying tools for bootable iso creation| Copying tools for iso creation...
~ 10
$ cp -rf xorriso "/srv/job/work"/xorriso >>
$ cp -rf cdrecord "/srv/job/work"/cdrecord >>
2 After changing, current working directory is /srv/job/work. In BootableISO::CreateISO()
$ chmod +x * >>
# 2 Extracting files to working directory| Extracting files to working directory...
~ 10
$ unzip -xo tool.zip >>
$ rm -rf "ISOCreation" >>
$ mkdir "ISOCreation" >>
6 Before copying boot directory of tool.zip to temp directory.
# 3 Copying files to working directory| Copying files to working directory...
~ 10
$ unalias cp >>
$ cp -fr boot/* ISOCreation >>
$ cp -rf  "a.txt" "ISOCreation/a.txt" >>
$ cp -rf  "b c.txt" "ISOCreation/b c.txt" >>
$ cp -rf  "folder" "ISOCreation" >>
0 to create parent dir:ISOCreation/sub/
$ mkdir -p ISOCreation/sub/
$ cp -rf  "sub/d.txt" "ISOCreation/sub/d.txt" >>
$ cp -rf  "zephyn" "ISOCreation/zephyn" >>
2 Need to chmod zephyn binary file. In BootableISO::CreateISO()
$ chmod -R +x ISOCreation/zephyn >>
2 "job.iso"
$ chmod +x ISOCreation/* >>
# 4 Removing temporary files| Removing temporary files...
~ 10
$ rm -rf ISOCreation/pxelinux.cfg
$ rm -f ISOCreation/pxelinux.0
# 5 Creating iso file| Creating iso file...
~ 10
)";

const std::string IN = ". In BootableISO::CreateISO()";
const std::string COPY_FAILED = "0 BootableMedia::copyFiles. return VELAERROR_FILE_OR_DIR_CREATE_ERROR ";
const std::string LIST_FAILED = "0 Copying source file list fails" + IN;

struct IsoJob {
    std::string workDir = "/srv/job/work";
    std::string isoFile = "job.iso";
    Lines files = {"zephyn", "a.txt", "sub/d.txt", "folder", "boot", "b c.txt", "a.txt"};
    std::string package = "tool.zip";
    int platform = 1;

    int runWith(BootableISO& iso) {
        shell("echo install >work/zephyn");
        return iso.CreateISO(workDir, isoFile, files, package, platform);
    }
};

void sweepPlatform(int platform, const std::string& imaging) {
    const auto copyFailure = [](const std::string& entry, const std::string& target) {
        const std::string command = "cp -rf  \"" + entry + "\" \"" + target + "\" >stdout.txt 2>&1";
        return Failure{
            command,
            106,
            {"0 BootableMedia::copyFiles. system(cmd) error " + command, COPY_FAILED, LIST_FAILED}};
    };
    const std::string bootCopy = "cp -fr boot/* ISOCreation >stdout.txt 2>&1";
    const Failure directoryCopy = copyFailure("sub/d.txt", "ISOCreation/sub/d.txt");
    sweep<BootableISO>(
        events(MADE + "2 " + imaging + " >>\n$ " + imaging +
               " >>\n2 BootableISO::CreateISO() ends successfully\n"),
        {
            {"cp -rf xorriso", 100, {"0 Preparation fails" + IN}},
            {"cp -rf cdrecord", 100, {"0 Preparation fails" + IN}},
            {"chmod +x *", 107, {"0 Changing mode fails" + IN}},
            {"unzip", 102, {"0 Unzipping fails" + IN}},
            {"mkdir \"ISOCreation\"", 106, {"0 Creating \"ISOCreation\" directory fails" + IN}},
            {bootCopy,
             106,
             {"0 system(cmd) failed " + bootCopy, COPY_FAILED, "0 Copying BOOT_FILE directory fails" + IN}},
            copyFailure("a.txt", "ISOCreation/a.txt"),
            copyFailure("b c.txt", "ISOCreation/b c.txt"),
            copyFailure("folder", "ISOCreation"),
            {"mkdir -p", 106,
             Lines{"0 create parent dir failed", "$ " + directoryCopy.command} + directoryCopy.events},
            directoryCopy,
            copyFailure("zephyn", "ISOCreation/zephyn"),
            {"chmod -R",
             107,
             {"0 Changing mode fails, and last error message is No space left on device" + IN}},
            {"chmod +x ISOCreation", 107, {"0 Changing mode fails, after copying operation" + IN}},
            {"./xorriso", 109, {"0 Making iso file fails" + IN, "0 broken"}},
        },
        [platform](BootableISO& iso) {
            IsoJob job;
            job.platform = platform;
            const int result = job.runWith(iso);
            if (result == 0) {
                EXPECT_EQ(job.files, (Lines{"a.txt", "b c.txt", "folder", "sub/d.txt", "zephyn"}));
            }
            return result;
        });
}

using IsoTest = JobTest;

TEST_F(IsoTest, EveryCommandFailsOnPlatform1) {
    sweepPlatform(
        1, "./xorriso -as mkisofs  -D -rational-rock -J -joliet-long -verbose -omit-period -e efibootimg "
           "-c boot.catalog -no-emul-boot -boot-load-size 4 -o \"job.iso\" ISOCreation");
}

TEST_F(IsoTest, EveryCommandFailsOnPlatform2) {
    sweepPlatform(
        2, "./xorriso -as mkisofs -U -D -J -joliet-long -rational-rock -verbose -omit-period -o \"job.iso\" "
           "-chrp-boot -prep-boot ISOCreation/ppc/chrp/yaboot ISOCreation");
}

TEST_F(IsoTest, EndsAtWhatIsMissingOrRefused) {
    struct {
        const char* what;
        std::function<void(IsoJob&, RecordingLogger&)> spoil;
        int result;
        std::string lastEvent;
    } const cases[] = {
        {"case of the ending", [](auto& job, auto&) { job.isoFile = "job.ISO"; }, 108,
         "0 Iso file does not end with iso extension" + IN},
        {"short name", [](auto& job, auto&) { job.isoFile = "iso"; }, 108,
         "0 Iso file does not end with iso extension" + IN},
        {"platform", [](auto& job, auto&) { job.platform = -3; }, 109,
         "0 Platform code -3 is not supported" + IN},
        {"no updates",
         [](auto& job, auto&) {
             job.files = {"boot", "unzip", "tool.zip"};
         },
         81, "0 There is no update files under specified directory after filterring" + IN},
        {"no tool", [](auto&, auto&) { std::filesystem::remove("xorriso"); }, 100,
         "0 Preparation fails" + IN},
        {"no directory", [](auto& job, auto&) { job.workDir = "gone"; }, 100, "0 Preparation fails" + IN},
        {"no package", [](auto& job, auto&) { job.package = "gone.zip"; }, 100,
         "0 There is no tool.zip file" + IN},
        {"no update file", [](auto& job, auto&) { job.files = {"gone"}; }, 100, LIST_FAILED},
        {"veto", [](auto&, auto& logger) { logger.answer = 5; }, 5,
         "6 Before copying boot directory of tool.zip to temp directory."},
        {"bare ending", [](auto& job, auto&) { job.isoFile = ".iso"; }, 0,
         "2 BootableISO::CreateISO() ends successfully"},
    };
    for (const auto& each : cases) {
        enterFreshJob();
        RecordingLogger logger;
        BootableISO iso(logger);
        IsoJob job;
        each.spoil(job, logger);
        EXPECT_EQ(job.runWith(iso), each.result) << each.what;
        EXPECT_EQ(recording.events.back(), each.lastEvent) << each.what;
    }
}

TEST_F(IsoTest, ALoggerMayThrowAndTheJobIsThenCleanedUp) {
    RecordingLogger logger;
    logger.throwAt = "\"job.iso\"";
    BootableISO iso(logger);
    EXPECT_THROW(IsoJob().runWith(iso), std::runtime_error);
    EXPECT_TRUE(std::filesystem::exists("ISOCreation/a.txt"));
    std::ofstream("init8.img") << "left";
    iso.removeTempFilesAndDirs();
    shell("test \"$(ls | tr '\\n' ' ')\" = 'a.txt b c.txt folder sub tool.zip zephyn '");
}

const std::string BURN = "2 ./cdrecord dev=/dev/sr0 blank=fast >>\n$ ./cdrecord dev=/dev/sr0 blank=fast >>\n";
const std::string WRITE = "2 echo | ./cdrecord -v -eject dev=/dev/sr0 xorriso.iso >>\n"
                          "$ echo | ./cdrecord -v -eject dev=/dev/sr0 xorriso.iso >>\n";
const std::vector<Failure> BURN_FAILURES = {
    {"./cdrecord",
     0,
     {"0 broken", "0 Command cdrecord[blank] failed. In BootableISO::BurnISO()", "0 Ignore blank error"}},
    {"echo | ./cdrecord", 111, {"0 broken", "0 Command cdrecord[write] failed. In BootableISO::BurnISO()"}},
};

int burn(BootableISO& iso, bool reportProgress) {
    std::ofstream("xorriso.iso") << "image";
    return iso.BurnISO("xorriso.iso", "/dev/sr0", "ignored", reportProgress);
}

TEST_F(IsoTest, EveryBurnerCommandFails) {
    const std::string start = "2 BootableISO::BurnISO() starts\n";
    sweep<BootableISO>(events(start + BURN + WRITE), BURN_FAILURES,
                       [](BootableISO& iso) { return burn(iso, false); });
    sweep<BootableISO>(events(start + "# 6 Blanking the CD/DVD media| Blanking the CD/DVD media...\n~ 10\n" +
                              BURN + "# 7 Burning the CD/DVD media| Burning the CD/DVD media...\n~ 10\n" +
                              WRITE),
                       BURN_FAILURES, [](BootableISO& iso) { return burn(iso, true); });
}

TEST_F(IsoTest, TellsTheBurnersFailuresApart) {
    const std::string overburn = "use -overburn option";
    const std::string noDisc = "cdrecord: No disk / Wrong disk!";
    const std::string tooSmall = "Data may not fit on current disk.";
    const std::string memoryMessage = "0 Failed to allocate the required memory of CD.";
    const std::string spaceMessage = "0 Disk space is not enough. In BootableISO::BurnISO()";
    struct {
        std::string output;
        int result;
        std::string lastEvent;
    } const cases[] = {
        {overburn, 113, memoryMessage},
        {"x\n\n" + noDisc + "\n" + overburn, 116, "0 No disk or wrong disk in drive: /dev/sr0"},
        {noDisc + " " + overburn, 113, memoryMessage},
        {tooSmall + "\n" + overburn, 111, spaceMessage},
        {"no DISK / wrong disk!", 111, "0 Command cdrecord[write] failed. In BootableISO::BurnISO()"},
    };
    for (const auto& each : cases) {
        recording = {};
        recording.failing = 2;
        recording.failureOutput = each.output;
        RecordingLogger logger;
        BootableISO iso(logger);
        EXPECT_EQ(burn(iso, false), each.result) << each.output;
        EXPECT_EQ(recording.events.back(), each.lastEvent) << each.output;
    }
    RecordingLogger logger;
    BootableISO iso(logger);
    recording = {};
    EXPECT_EQ(iso.BurnISO("gone.iso", "/dev/sr0", "", true), 112);
    EXPECT_EQ(iso.BurnISO("xorriso", "/dev/sr0", "", true), 108);
    EXPECT_EQ(recording.commands, 0);
}

} // namespace
