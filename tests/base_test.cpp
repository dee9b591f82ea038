#include "harness.h"

#include "bootableiso.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>

namespace {

/// A builder whose clean-up may be let loose without a job.
class Media : public VelaCreation::BootableISO {
public:
    using BootableISO::BootableISO;
    using BootableISO::m_workDirEntered;
};

class BaseTest : public JobTest {
protected:
    RecordingLogger logger;
    Media media{logger};
};

TEST_F(BaseTest, FilterDropsOneOfEachName) {
    struct {
        Lines files;
        std::string package;
        Lines left;
    } const cases[] = {
        {{"a", "stdout.txt", "..", "b"}, "tool.zip", {"a", "b"}},
        {{"boot", "x", "boot"}, "tool.zip", {"x", "boot"}},
        {{"boot", "x", "boot", "boot"}, "boot", {"x", "boot"}},
        {{"./boot", "sub/boot", "Boot", "stdout.txt.bak", "tool.zip"},
         "/p/tool.zip",
         {"./boot", "sub/boot", "Boot", "stdout.txt.bak", "tool.zip"}},
        {{"ISOCreation", "unzip",          "init1.img",      "init2.img",  "init4.img",   "init8.img", "t",
          "boot",        "tmpInput",       "xorriso",        "cdrecord",   "cygwinz.dll", "dd",        "zip",
          "cygwin1.dll", "cygiconv-2.dll", "cyggcc_s-1.dll", "stdout.txt", ".",           ".."},
         "t",
         {}},
        {{}, "t", {}},
    };
    for (const auto& each : cases) {
        Lines files = each.files;
        media.filterFileList(files, each.package);
        EXPECT_EQ(files, each.left);
    }
}

TEST_F(BaseTest, StatusFileHoldsTheLastRecord) {
    const std::string path = "/var/log/Norvane_Support/talo_cli.xml";
    media.saveErrorMessageFile(-12345, "a longer message than the next one", 1000);
    EXPECT_EQ(contentOf(path),
              "<CLIERROR>\n\t<CODE>-12345</CODE>\n\t<MESSAGE>a longer message than the next one"
              "</MESSAGE>\n\t<STEPSERIAL>1000</STEPSERIAL>\n</CLIERROR>");
    media.saveErrorMessageFile(20, "<&", 3);
    EXPECT_EQ(contentOf(path),
              "<CLIERROR>\n\t<CODE>20</CODE>\n\t<MESSAGE><&</MESSAGE>\n\t<STEPSERIAL>3</STEPSERIAL>\n"
              "</CLIERROR>");
    const Overlay withoutDirectory("/var/log");
    media.saveErrorMessageFile(20, "", 1);
    shell("test -z \"$(ls /var/log)\"");
}

TEST_F(BaseTest, RelaysLines) {
    struct {
        std::string content;
        Lines relayed;
        Lines saved;
    } const cases[] = {
        {"a\nb\n", {"2 a", "2 b", "2 "}, {"0 a", "0 b"}},
        {"a\n\nb", {"2 a", "2 ", "2 b", "2 "}, {"0 a", "0 b"}},
        {"", {"2 "}, {}},
        {"a\r\n", {"2 a\r", "2 "}, {"0 a\r"}},
        {std::string(5000, 'x'), {"2 " + std::string(5000, 'x'), "2 "}, {"0 " + std::string(5000, 'x')}},
    };
    for (const auto& each : cases) {
        std::ofstream("capture") << each.content;
        media.writeFileToLog("capture");
        EXPECT_EQ(std::exchange(recording.events, {}), each.relayed) << each.content;
        media.saveFile("capture");
        EXPECT_EQ(std::exchange(recording.events, {}), each.saved) << each.content;
    }
    media.writeFileToLog("gone");
    media.saveFile("gone");
    EXPECT_EQ(recording.events, Lines{});
}

TEST_F(BaseTest, CopiesFiles) {
    const std::string failed = "0 BootableMedia::copyFiles. return VELAERROR_FILE_OR_DIR_CREATE_ERROR ";
    const auto copy = [](const std::string& file, const std::string& target) {
        return "cp -rf  \"" + file + "\" \"" + target + "\" >>\n";
    };
    struct {
        std::string source;
        std::string destination;
        Lines files;
        int result;
        std::string expected;
    } const cases[] = {
        {"hidden",
         "dest",
         {},
         106,
         "$ unalias cp >>\n$ cp -fr hidden/* dest >>\n0 system(cmd) failed cp -fr hidden/* dest >>\n" +
             failed},
        {"sub", "dest", {}, 0, "$ unalias cp >>\n$ cp -fr sub/* dest >>\n"},
        {"gone", "dest", {"", "a.txt"}, 0, "$ " + copy("a.txt", "dest/a.txt")},
        {"",
         "dest",
         {"a.txt", "gone", "b c.txt"},
         100,
         "$ " + copy("a.txt", "dest/a.txt") + "0 BootableMedia::copyFiles. file not found: gone"},
        {"",
         "new",
         {"sub/d.txt"},
         0,
         "0 to create parent dir:new/sub/\n$ mkdir -p new/sub/\n$ " + copy("sub/d.txt", "new/sub/d.txt")},
        {"",
         "a.txt",
         {"sub/d.txt", "a.txt"},
         106,
         "0 to create parent dir:a.txt/sub/\n$ mkdir -p a.txt/sub/\n0 create parent dir failed\n$ " +
             copy("sub/d.txt", "a.txt/sub/d.txt") + "0 BootableMedia::copyFiles. system(cmd) error " +
             copy("sub/d.txt", "a.txt/sub/d.txt") + failed},
        {"",
         "deep/er",
         {"folder"},
         0,
         "0 to create parent dir:deep/\n$ mkdir -p deep/\n$ " + copy("folder", "deep/er")},
        {"", "dest", {"folder", "folder"}, 0, "$ " + copy("folder", "dest") + "$ " + copy("folder", "dest")},
    };
    shell("cd work && mkdir hidden dest && touch hidden/.x");
    ASSERT_EQ(chdir("work"), 0);
    for (const auto& each : cases) {
        recording.events.clear();
        EXPECT_EQ(media.copyFiles(each.source, each.destination, each.files), each.result) << each.expected;
        EXPECT_EQ(recording.events, events(each.expected));
    }
    shell("test -f dest/d.txt && test -f dest/a.txt && test -f new/sub/d.txt && test -f "
          "dest/folder/inner/e.txt && test -f deep/er/inner/e.txt");
}

TEST_F(BaseTest, AnswersAndMakesDirectories) {
    EXPECT_TRUE(media.isFileExist("work"));
    EXPECT_FALSE(media.isDirExists("xorriso"));
    EXPECT_TRUE(media.createDirectory("work"));
    shell("test -z \"$(ls -A work)\"");
    EXPECT_FALSE(media.createDirectory("gone/sub"));
    std::ofstream("stdout.txt") << "kept";
    EXPECT_FALSE(media.copyFile("gone", "work"));
    EXPECT_EQ(contentOf("stdout.txt"), "kept");
    EXPECT_FALSE(media.copyFile("xorriso", "gone"));
    errno = ENOENT;
    EXPECT_EQ(media.getFormatMessage(), "No such file or directory");
    media.processSleep(-1);
    media.processSleep(7);
    EXPECT_EQ(recording.events.back(), "~ 7");
}

TEST_F(BaseTest, CleansUpOnceAndRefusesWhatIsNoWord) {
    const std::string refusal =
        ", which is not a single shell word. In BootableMedia::removeTempFilesAndDirs()";
    Lines extra = {"", "*.tmp"};
    Lines expected = {"$ rm -rf *.tmp"};
    for (const char special : std::string(" \t\n'\"\\;&|<>()$`")) {
        extra.push_back(std::string("x") + special + "a.txt");
        expected.push_back("0 Not removing " + extra.back() + refusal);
    }
    extra.emplace_back("work/a.txt");
    expected = expected + events(R"(
$ rm -rf work/a.txt
$ rm -rf boot
$ rm -rf ISOCreation
)");
    for (const char* name :
         {"unzip", "init1.img", "init2.img", "init4.img", "init8.img", "tmpInput", "xorriso", "cdrecord",
          "cygwinz.dll", "cygwin1.dll", "cygiconv-2.dll", "cyggcc_s-1.dll", "dd", "zip"}) {
        expected.push_back(std::string("$ rm -f ") + name + " >stdout.txt 2>&1");
    }
    expected.emplace_back("$ rm -f stdout.txt");

    media.removeTempFilesAndDirs(extra);
    EXPECT_EQ(recording.events, Lines{});
    media.m_workDirEntered = true;
    shell("mkdir boot ISOCreation && touch a.tmp b.tmp boot/x zip");
    media.removeTempFilesAndDirs(extra);
    EXPECT_EQ(recording.events, expected);
    EXPECT_FALSE(media.m_workDirEntered);
    shell("test \"$(echo *)\" = 'mounted work'");
}

TEST_F(BaseTest, ScansText) {
    std::ofstream("text") << "one 120 MB written\nTrack 01: data  120 MB written\nnothing";
    struct {
        std::string file;
        std::string text;
        int position;
        std::string word;
    } const cases[] = {
        {"text", "written", 10, "data"},
        {"text", "written", 9, ""},
        {"text", "one", 4, "120"},
        {"text", "one", 18, ""},
        {"text", "nothing", 2, "thing"},
        {"text", "Written", 0, ""},
        {"gone", "", 0, ""},
        {"text", "", 0, ""},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(VelaCreation::findStrInLine(each.file, each.text, each.position), each.word) << each.text;
    }
    for (const int position : {-1, 19}) {
        EXPECT_THROW(VelaCreation::findStrInLine("text", "one", position), std::out_of_range);
    }
    EXPECT_THROW(VelaCreation::findStrInLine("text", "", 1),
                 std::out_of_range); // the line after the last one

    std::ofstream("source") << "a\nb";
    std::ofstream("destination") << "old\n";
    VelaCreation::appendFile("source", "destination");
    VelaCreation::appendFile("gone", "destination");
    EXPECT_EQ(contentOf("destination"), "old\na\nb\n\n");
    VelaCreation::appendFile("gone", "made");
    shell("test -e made");
}

} // namespace
