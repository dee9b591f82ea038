#include "frontend.h"
#include "network/addresses.h"
#include "network/machines.h"
#include "network/netbootDirectory.h"

using namespace velacreate;

namespace {

using NetworkTest = JobTest;

Network networkOf(const std::string& text) {
    const auto slash = text.find('/');
    const auto bits = std::stoul(text.substr(slash + 1));
    return {readAddress(text.substr(0, slash)).value(), static_cast<Address>(~0ULL << (32U - bits))};
}

} // namespace

TEST_F(NetworkTest, RangeIsTheUpperHalfOrOneThatFits) {
    for (const auto& row : rows("address-ranges")) {
        SCOPED_TRACE(row[0] + " " + row[1]);
        std::vector<Network> networks;
        for (const auto& text : words(row[0])) {
            networks.push_back(networkOf(text));
            EXPECT_EQ(networks.back().text(), text);
        }
        EXPECT_EQ(outcomeOf([&] {
                      return (row[1].empty() ? upperHalf(networks[0]) : readRange(row[1], networks)).text();
                  }),
                  row[2]);
    }
}

TEST_F(NetworkTest, MachinesAreKnownFromTheServersOwnWords) {
    Machines machines;
    for (const auto& row : rows("server-lines")) {
        const auto news = machines.take("Nov 25 09:28:35 " + row[0]);
        EXPECT_EQ(news ? news->text : "-", row[1]) << row[0];
    }
    EXPECT_EQ(machines.total(), "5 machines were served, 1 had the archive");
    EXPECT_EQ(machines.text(0), "52:54:00:00:00:01  10.7.0.130  pxelinux.0, ks.zip at 09:28:35");
}

TEST_F(NetworkTest, MachinesOfAStrangersMakingAreNotKeptForEver) {
    Machines machines;
    for (int number = 0; number < 12000; ++number) {
        const auto address = addressText(0x0a000000U + static_cast<Address>(number));
        machines.take("Nov 25 09:28:35 dnsmasq-tftp[1]: sent /mnt/package/x to " + address);
    }
    EXPECT_EQ(machines.count(), 10000U);
}

TEST_F(NetworkTest, PackageIsLookedThroughBeforeItIsServed) {
    for (const auto& row : rows("netboot-directories")) {
        prepare("mkdir served && cp work/tool.zip served/ks.zip && cd served && touch grub.cfg img2a img3a "
                "pxelinux.0 ksrootfs bsb1.lss bsb.msg "
                "unicode.pf2 splash.xpm.gz && " +
                row[0]);
        SCOPED_TRACE(row[0]);
        expectText(outcomeOf([] { return "lacks " + joined(NetbootDirectory("served").missing(), ","); }),
                   row[1]);
        shell("rm -rf served");
    }
}

TEST_F(NetworkTest, PackageIsServedOnlyAsItWasLookedThrough) {
    prepare("mkdir served && cp work/tool.zip served/ks.zip && cd served && echo loader >pxelinux.0");
    const NetbootDirectory directory("served");
    const auto served = [&] {
        std::string all;
        directory.forEachFile([&](const std::string& name, const Descriptor&) { all += name + " "; });
        return all + directory.change();
    };
    EXPECT_EQ(served(), "pxelinux.0 ks.zip ");
    shell("touch served/img2a");
    EXPECT_EQ(served(), "pxelinux.0 ks.zip its file 'img2a' was added");
    shell("ln -sf ks.zip served/pxelinux.0");
    EXPECT_EQ(outcomeOf(served), "failed: 'pxelinux.0': Too many levels of symbolic links");
    shell("rm served/pxelinux.0 && mkfifo served/pxelinux.0");
    EXPECT_EQ(outcomeOf(served), "failed: 'pxelinux.0' was changed after it was checked");
}
