#include "harness.h"

#include "bootableiso.h"

using VelaCreation::BootableISO;

namespace {

const std::string WORK = "/srv/job/work";

using IsoTest = JobTest;

TEST_F(IsoTest, EveryCommandFails) {
    for (const auto& [platform, name] : {std::pair(1, "iso-linux"), std::pair(2, "iso-ppc")}) {
        sweep<BootableISO>(name, [platform = platform](BootableISO& iso) {
            Lines files = {"zephyn", "a.txt", "sub/d.txt", "folder", "boot", "b c.txt", "a.txt"};
            const int result = iso.CreateISO(WORK, "job.iso", files, "tool.zip", platform);
            if (result == 0) {
                EXPECT_EQ(files, (Lines{"a.txt", "b c.txt", "folder", "sub/d.txt", "zephyn"}));
            }
            return result;
        });
    }
}

TEST_F(IsoTest, EndsAtWhatIsMissingOrRefused) {
    const ForeignNumbers numbers;
    for (const auto& row : rows("iso-refusals")) {
        enterFreshJob();
        RecordingLogger logger;
        logger.answer = std::stoi(row[5]);
        BootableISO iso(logger);
        Lines files = words(row[2]);
        EXPECT_EQ(iso.CreateISO(row[0], row[1], files, row[3], std::stoi(row[4])), std::stoi(row[6]));
        EXPECT_EQ(recording.events.back(), row[7]);
        expectState(iso);
    }
}

TEST_F(IsoTest, ALoggerMayThrowAndTheJobIsThenCleanedUp) {
    RecordingLogger logger;
    logger.throwAt = "\"job.iso\"";
    BootableISO iso(logger);
    Lines files = {"a.txt"};
    EXPECT_THROW(iso.CreateISO(WORK, "job.iso", files, "tool.zip", 1), std::runtime_error);
    shell("test -f ISOCreation/a.txt && touch cygwinz.dll");
    iso.removeTempFilesAndDirs();
    shell("test \"$(ls | tr '\\n' ' ')\" = 'a.txt b c.txt folder sub tool.zip zephyn '");
}

int burn(BootableISO& iso, bool reportProgress) {
    shell("touch job.iso");
    return iso.BurnISO("job.iso", "/dev/sr0", "ignored", reportProgress);
}

TEST_F(IsoTest, EveryBurnerCommandFails) {
    sweep<BootableISO>("burn", [](BootableISO& iso) { return burn(iso, true); });
    sweep<BootableISO>("burn-quiet", [](BootableISO& iso) { return burn(iso, false); });
}

TEST_F(IsoTest, TellsTheBurnersFailuresApart) {
    RecordingLogger logger;
    BootableISO iso(logger);
    for (const auto& row : rows("burn-failures")) {
        recording = {{}, 0, 2, row[0], {}};
        EXPECT_EQ(burn(iso, false), std::stoi(row[1])) << row[0];
        EXPECT_EQ(recording.events.back(), row[2]) << row[0];
    }
    recording = {};
    EXPECT_EQ(iso.BurnISO("gone.iso", "/dev/sr0", "", true), 112);
    EXPECT_EQ(iso.BurnISO("xorriso", "/dev/sr0", "", true), 108);
    EXPECT_EQ(recording.commands, 0);
}

} // namespace
