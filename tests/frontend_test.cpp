#include "harness.h"

#include <cstdlib>

namespace {

using FrontEndTest = JobTest;

std::string everyFile() {
    shell("find /srv/job -exec stat -c '%n %f %s' {} + >/srv/files; find /srv/job -type f -exec md5sum {} + "
          ">>/srv/files");
    return contentOf("/srv/files");
}

/// A row: what is made before, the environment, the arguments, the exit status, what must hold afterwards.
TEST_F(FrontEndTest, EndsAsTheTableSays) {
    for (const auto& row : rows("front-end")) {
        SCOPED_TRACE("velacreate " + row[2]);
        enterFreshJob();
        shell(row[0] + "\n:");
        const std::string before = everyFile();
        const int status =
            runForReal("cd work && TMPDIR=/srv LD_PRELOAD=" PAUSES " ASAN_OPTIONS=verify_asan_link_order=0 " +
                       row[1] + " " VELACREATE " " + row[2] + " >/srv/out 2>/srv/err </dev/null");
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(std::to_string(WEXITSTATUS(status)), row[3]) << contentOf("/srv/err");
        EXPECT_EQ(runForReal(row[4]), 0) << row[4] << "\n" << contentOf("/srv/out") << contentOf("/srv/err");
        if (row[3] == "2") {
            EXPECT_EQ(everyFile(), before);
        }
        shell("! mountpoint -q /mnt/VelaCreationUSBKey && ! ls -d /srv/velacreate-* >/dev/null 2>&1");
    }
}

/// An image with PowerPC boot records: the types in its partition table, and what its PReP entry points at.
TEST_F(FrontEndTest, APowerPcImageHasBothBootRecords) {
    shell("cd work && TMPDIR=/srv LD_PRELOAD=" PAUSES " ASAN_OPTIONS=verify_asan_link_order=0 " VELACREATE
          " iso --package tool.zip --output /srv/job/ppc.iso --platform ppc a.txt >/dev/null");
    const std::string image = contentOf("ppc.iso");
    const auto byteAt = [&image](std::size_t offset) {
        return std::size_t{static_cast<unsigned char>(image.at(offset))};
    };
    std::string found;
    for (std::size_t entry = 446; entry < 510; entry += 16) {
        const std::size_t sector =
            byteAt(entry + 8) + (byteAt(entry + 9) << 8U) + (byteAt(entry + 10) << 16U);
        found += std::to_string(byteAt(entry + 4)) + " ";
        found += byteAt(entry + 4) == 0x41 ? image.substr(sector * 512, 16) : "";
    }
    EXPECT_EQ(found, "150 65 ppc/chrp/yaboot\n0 0 ");
}

} // namespace
