#include "platform/network/SysfsInterfaceAttributes.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace lumvik::test {
namespace {

/// Reads attributes from a folder laid out like /sys/class/net.
class SysfsInterfaceAttributesTest : public testing::Test {
  protected:
    void add(const std::string &name, const std::vector<std::string> &entries) const {
        for (const std::string &entry : entries)
            std::filesystem::create_directories(folder() / name / entry);
    }
    [[nodiscard]] SysfsInterfaceAttributes attributes(const std::string &name) const {
        return readSysfsInterfaceAttributesIn(folder(), name);
    }
    [[nodiscard]] std::filesystem::path folder() const { return m_folder.path().toStdString(); }

  private:
    QTemporaryDir m_folder;
};

TEST_F(SysfsInterfaceAttributesTest, AttributesAreFalseWithoutEntries) {
    add("lo", {"queues"});
    for (const char *name : {"lo", "no such interface"}) {
        EXPECT_FALSE(attributes(name).isWireless) << name;
        EXPECT_FALSE(attributes(name).isBridge) << name;
    }
    EXPECT_FALSE(readSysfsInterfaceAttributes("no such interface").isWireless);
    EXPECT_FALSE(readSysfsInterfaceAttributes("lo").isBridge);
}

TEST_F(SysfsInterfaceAttributesTest, EitherEntryIdentifiesAWirelessInterface) {
    add("wlan0", {"device", "phy80211"});
    add("ath0", {"device", "wireless"});
    add("eth0", {"device"});
    EXPECT_TRUE(attributes("wlan0").isWireless);
    EXPECT_TRUE(attributes("ath0").isWireless);
    EXPECT_FALSE(attributes("eth0").isWireless);
}

TEST_F(SysfsInterfaceAttributesTest, BridgeIsOverHardwareIfAPortIsAHardwareDeviceOrUsesOne) {
    add("eth0", {"device"});
    add("veth1", {"queues"});
    add("bond0", {"lower_eth0"});
    add("bond0.7", {"lower_bond0"});
    const struct {
        const char *name;
        std::vector<std::string> entries;
        bool bridgesHardware;
    } rows[] = {
        {"empty", {"bridge", "brif"}, false},
        {"guests", {"bridge", "brif/veth1", "lower_veth1"}, false},
        {"wired", {"bridge", "brif/veth1", "brif/eth0", "lower_veth1", "lower_eth0"}, true},
        {"tagged", {"bridge", "brif/bond0.7", "lower_bond0.7"}, true},
        {"gone", {"bridge", "brif/eth9", "lower_eth9"}, false},
        {"round", {"bridge", "lower_round"}, false},
    };
    for (const auto &row : rows) {
        add(row.name, row.entries);
        EXPECT_TRUE(attributes(row.name).isBridge) << row.name;
        EXPECT_EQ(attributes(row.name).bridgesHardware, row.bridgesHardware) << row.name;
    }
    EXPECT_FALSE(attributes("eth0").isBridge);
    EXPECT_FALSE(attributes("bond0").isBridge);
}

} // namespace
} // namespace lumvik::test
