#include "harness.h"

#include "bootableiso.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace {

/// A builder whose clean-up may be let loose without a job.
struct Media : VelaCreation::BootableISO {
    using BootableISO::BootableISO;
    using BootableISO::m_workDirEntered;
};

struct BaseTest : JobTest {
    RecordingLogger logger;
    Media media{logger};
};

TEST_F(BaseTest, FilterDropsOneOfEachName) {
    for (const auto& row : rows("filter")) {
        Lines files = words(row[0]);
        media.filterFileList(files, row[1]);
        EXPECT_EQ(files, words(row[2]));
    }
}

TEST_F(BaseTest, StatusFileHoldsTheLastRecord) {
    const std::string path = media.getErrorMessageFilePath();
    const ForeignNumbers numbers;
    media.saveErrorMessageFile(-12345, "a longer message than the next one", 1000);
    EXPECT_EQ(contentOf(path),
              "<CLIERROR>\n\t<CODE>-12345</CODE>\n\t<MESSAGE>a longer message than the next one"
              "</MESSAGE>\n\t<STEPSERIAL>1000</STEPSERIAL>\n</CLIERROR>");
    media.saveErrorMessageFile(20, "<&", 3);
    EXPECT_EQ(
        contentOf("/var/log/Norvane_Support/talo_cli.xml"),
        "<CLIERROR>\n\t<CODE>20</CODE>\n\t<MESSAGE><&</MESSAGE>\n\t<STEPSERIAL>3</STEPSERIAL>\n</CLIERROR>");
    whileEmpty("/var/log", [this] {
        media.saveErrorMessageFile(20, "", 1);
        shell("test -z \"$(ls /var/log)\"");
    });
}

TEST_F(BaseTest, RelaysLines) {
    for (const auto& row : rows("relay")) {
        std::ofstream("capture") << row[0];
        media.writeFileToLog("capture");
        EXPECT_EQ(std::exchange(recording.events, {}), events(row[1]));
        media.saveFile("capture");
        EXPECT_EQ(std::exchange(recording.events, {}), events(row[2]));
    }
    media.writeFileToLog("gone");
    media.saveFile("gone");
    EXPECT_EQ(recording.events, Lines{});
}

TEST_F(BaseTest, CopiesFiles) {
    shell("cd work && mkdir dot dest && touch dot/.x");
    ASSERT_EQ(chdir("work"), 0);
    for (const auto& row : rows("copies")) {
        recording.events.clear();
        EXPECT_EQ(media.copyFiles(row[0], row[1], words(row[2])), std::stoi(row[3])) << row[4];
        EXPECT_EQ(recording.events, events(row[4]));
    }
    shell("ls dest/d.txt dest/a.txt new/sub/d.txt dest/folder/inner/e.txt deep/er/inner/e.txt >/dev/null");
}

TEST_F(BaseTest, AnswersAndMakesDirectories) {
    EXPECT_TRUE(media.isFileExist("work"));
    EXPECT_FALSE(media.isDirExists("xorriso"));
    EXPECT_TRUE(media.createDirectory("work"));
    shell("test -z \"$(ls -A work)\" && echo kept >stdout.txt");
    EXPECT_FALSE(media.copyFile("gone", "work"));
    EXPECT_EQ(contentOf("stdout.txt"), "kept\n");
    EXPECT_FALSE(media.copyFile("xorriso", "gone"));
    EXPECT_FALSE(media.createDirectory("gone/sub"));
    errno = ENOENT;
    EXPECT_EQ(media.getFormatMessage(), "No such file or directory");
    media.processSleep(7);
    media.processSleep(-7);
    EXPECT_EQ(Lines(recording.events.end() - 2, recording.events.end()), (Lines{"~ 7", "~ 0"}));
}

TEST_F(BaseTest, CleansUpOnceAndRefusesWhatIsNoWord) {
    Lines extra = {"", "*.tmp"};
    Lines expected = {"$ rm -rf *.tmp"};
    Lines refused = {"~", "~/work", "#work", "-i", "--"};
    for (const char special : std::string(" \t\n'\"\\;&|<>()$`")) {
        refused.push_back(std::string("x") + special + "work");
    }
    for (const std::string& entry : refused) {
        extra.push_back(entry);
        expected.push_back("0 Not removing " + entry +
                           ", which is not a single shell word. In BootableMedia::removeTempFilesAndDirs()");
    }
    for (const std::string entry : {"work/a.txt", "a~", "a#b", "a-b"}) {
        extra.push_back(entry);
        expected.push_back("$ rm -rf " + entry);
    }
    const Lines fixed = eventsOf("cleanup", 0).first;
    expected.insert(expected.end(), fixed.begin(), fixed.end());

    media.removeTempFilesAndDirs(extra);
    EXPECT_EQ(recording.events, Lines{});
    media.m_workDirEntered = true;
    shell("mkdir boot ISOCreation && touch a.tmp b.tmp boot/x zip");
    media.removeTempFilesAndDirs(extra);
    EXPECT_EQ(recording.events, expected);
    shell("test \"$(echo * work/*)\" = 'mounted work work/b c.txt work/folder work/sub work/tool.zip "
          "work/zephyn'");
}

TEST_F(BaseTest, ScansText) {
    std::ofstream("text") << "one 120 MB written\nTrack 01: data  120 MB written\nnothing";
    for (const auto& row : rows("words")) {
        EXPECT_EQ(VelaCreation::findStrInLine(row[0], row[1], std::stoi(row[2])), row[3]) << row[1];
    }
    for (const auto& [text, position] :
         {std::pair("one", -1), {"one", 19}, {"", 1}}) { // "": what follows the last line
        EXPECT_THROW(VelaCreation::findStrInLine("text", text, position), std::out_of_range);
    }

    std::ofstream("source") << "a\nb";
    std::ofstream("destination") << "old\n";
    VelaCreation::appendFile("source", "destination");
    VelaCreation::appendFile("gone", "destination");
    EXPECT_EQ(contentOf("destination"), "old\na\nb\n\n");
}

} // namespace
