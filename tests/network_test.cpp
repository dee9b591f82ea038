#include "frontend.h"
#include "network/addresses.h"
#include "network/machineNames.h"
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

Machines machinesOf(const ServedSizes& sizes) {
    return {sizes, {{"52:54:00:00:00:06", "pump"}}, [](Address address) {
                return std::string(addressText(address) == "10.7.0.206" ? "52:54:00:00:00:06" : "");
            }};
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
    auto machines = machinesOf({0, 0, 0, false, {11, 16}});
    for (const auto& row : rows("server-lines")) {
        const auto news = machines.take("Nov 25 09:28:35 " + row[0], {});
        EXPECT_EQ(news ? news->text : "-", row[1]) << row[0];
        if (const auto reassigned = machines.takeReassigned()) {
            EXPECT_EQ(row[0], "dnsmasq-dhcp[1]: DHCPACK(br0) 10.7.0.130 52:54:00:00:00:03 ");
            EXPECT_EQ(addressText(*reassigned), "10.7.0.130");
        }
    }
    EXPECT_EQ(machines.total(), "8 machines asked, 6 fetched something, 1 had it all");
    EXPECT_EQ(machines.text(0),
              "52:54:00:00:00:01  10.7.0.130  BIOS  pxelinux.0, ks.zip, had it all at 09:28:35");
}

TEST_F(NetworkTest, MadeUpMachinesAreNotKeptForEver) {
    auto machines = machinesOf({});
    auto offered = machinesOf({});
    ImageDelivery delivery(1000);
    for (int number = 0; number < 20000; ++number) {
        const auto address = 0x0a000000U + static_cast<Address>(number);
        machines.take("Nov 25 09:28:35 dnsmasq-tftp[1]: sent /mnt/package/x to " + addressText(address), {});
        delivery.takeCount({address, 1, 1, 1, true});
        const std::string packet = "Nov 25 09:28:35 dnsmasq-dhcp[1]: " + std::to_string(number);
        offered.take(packet + " tags: arch7, eth1", {});
        offered.take(packet + " DHCPOFFER(eth1) 10.7.0.9 " + std::to_string(10000 + number) + ":00", {});
    }
    EXPECT_TRUE(
        offered.take("Nov 25 09:28:35 dnsmasq-dhcp[1]: DHCPACK(eth1) 10.7.0.9 52:54:00:00:00:01", {}));
    EXPECT_EQ(offered.count(), 10000U);
    EXPECT_EQ(machines.count(), 10000U);
    EXPECT_EQ(delivery.takeNews().size(), 10000U);
}

TEST_F(NetworkTest, MachineThatStopsIsToldOfWithWhatThatMeans) {
    for (const auto& row : rows("stopped-machines")) {
        SCOPED_TRACE(row[0] + " " + row[1]);
        auto machines = machinesOf({8 << 20U, 600 << 20U, 3ULL << 30U, row[1] == "proxy"});
        for (const auto& text : words(row[0])) {
            const auto file = "/mnt/package/" + text.substr(text[0] == '!' ? 1 : 0) + " to 10.7.0.9";
            const std::string start = "Nov 25 09:28:35 dnsmasq-";
            if (text.rfind("arch", 0) == 0) {
                machines.take(start + "dhcp[1]: 7 tags: " + text + ", eth1", {});
                machines.take(start + "dhcp[1]: 7 DHCPACK(eth1) 10.7.0.9 52:54:00:00:00:01", {});
            } else {
                machines.take(start + "tftp[1]: " + (text[0] == '!' ? "failed sending " : "sent ") + file,
                              {});
            }
        }
        const auto after = [&](int seconds) {
            const auto stopped = machines.takeStopped(Machines::Time(std::chrono::seconds(seconds)));
            return stopped.empty() ? "" : stopped.front().text.substr(stopped.front().text.find("stopped"));
        };
        EXPECT_EQ(after(std::stoi(row[2]) - 1), "");
        expectText(after(std::stoi(row[2]) + 1), row[3]);
        EXPECT_EQ(after(100000), "");
    }
}

TEST_F(NetworkTest, ImageIsThereWhenEachOfItsBytesWasAcknowledged) {
    for (const auto& row : rows("image-delivery")) {
        ImageDelivery delivery(1000);
        std::string percents;
        for (const auto& step : lines(row[0])) {
            const auto of = words(step);
            if (of[0] == "other") {
                delivery.forget(*readAddress("10.7.0.9"));
            } else if (of[0] == "log") {
                delivery.takeAnswer("10.7.0.9 " + step.substr(4));
            } else {
                delivery.takeCount(
                    {*readAddress("10.7.0.9"), 5000, std::stoull(of[1]), std::stoull(of[2]), of[0] == "end"});
            }
            for (const auto& news : delivery.takeNews()) {
                percents += std::to_string(news.percent) + " ";
            }
        }
        EXPECT_EQ(percents, row[1] + " ") << row[0];
    }
    ImageDelivery inSmallParts(3000);
    for (unsigned number = 1; number <= 3000; ++number) { // each second byte, then those between
        const auto from = std::to_string(number <= 1500 ? 2 * (number - 1) : 2 * (number - 1501) + 1);
        inSmallParts.takeAnswer("10.7.0.9 5000 206 101 1 bytes " + from + "-" + from + "/3000 1 GET");
        inSmallParts.takeCount({*readAddress("10.7.0.9"), 5000, 1, 101UL * number, false});
    }
    EXPECT_EQ(inSmallParts.takeNews().front().percent, 100U);
}

TEST_F(NetworkTest, NamesOfMachinesAreRead) {
    for (const auto& row : rows("machine-names")) {
        std::ofstream("work/names") << row[0];
        EXPECT_EQ(outcomeOf([] {
                      std::string all;
                      for (const auto& [hardware, name] : readMachineNames("work/names")) {
                          all += hardware + "=" + name + ";";
                      }
                      return all;
                  }),
                  row[1]);
    }
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
