#include "inspect/verdicts/BusHealth.h"
#include "rombus_support/BusShapes.h"

#include <gtest/gtest.h>

namespace rombus {
namespace {

using rombus_test::chain;
using rombus_test::selfIdsOf;

lib1394::BusCapture captureOf(const std::vector<PhySelfId>& phys) {
    lib1394::BusCapture capture;
    capture.name = "card 0";
    capture.topology = encodeTopologyMap(1, phys);
    capture.localNodeId = 0xFFC0 | static_cast<uint32_t>(phys.size() - 1);
    capture.rootNodeId = capture.localNodeId;
    return capture;
}

std::vector<PhySelfId> withGap(std::vector<PhySelfId> phys, unsigned gap) {
    for (PhySelfId& phy : phys)
        phy.gapCount = gap;
    return phys;
}

// The checks that found something, in order.
std::vector<std::string> checksOf(const lib1394::BusCapture& capture) {
    std::vector<std::string> checks;
    for (const BusFinding& finding : buildBusView(capture, "").health)
        checks.push_back(finding.check);
    return checks;
}

std::string textOf(const lib1394::BusCapture& capture, const std::string& check) {
    for (const BusFinding& finding : buildBusView(capture, "").health)
        if (finding.check == check)
            return finding.text;
    return "";
}

using Checks = std::vector<std::string>;

TEST(BusHealth, GapCountsAgainstEachOtherAndTheHopTable) {
    // Two hops: the table's optimum is 7.
    EXPECT_EQ(checksOf(captureOf(withGap(selfIdsOf(chain(3)), 7))), Checks{});
    EXPECT_EQ(checksOf(captureOf(withGap(selfIdsOf(chain(3)), 63))), Checks{"gap-count-large"});
    EXPECT_NE(textOf(captureOf(withGap(selfIdsOf(chain(3)), 63)), "gap-count-large")
                  .find("larger than 7, the optimum for the bus's 2 hops"),
              std::string::npos);
    // Four hops want 10; 5 is too small.
    EXPECT_EQ(checksOf(captureOf(withGap(selfIdsOf(chain(5)), 5))), Checks{"gap-count-small"});
    std::vector<PhySelfId> mixed = withGap(selfIdsOf(chain(3)), 63);
    mixed[1].gapCount = 5;
    EXPECT_EQ(checksOf(captureOf(mixed)), Checks{"gap-count-mismatch"});
    EXPECT_NE(textOf(captureOf(mixed), "gap-count-mismatch").find("5 at PHY 1; 63 at PHYs 0, 2"),
              std::string::npos);
}

TEST(BusHealth, RootResourcesAndDeviceFiles) {
    const std::vector<PhySelfId> healthy = withGap(selfIdsOf(chain(3)), 7);
    std::vector<PhySelfId> rootOff = healthy;
    rootOff[2].linkActive = false;
    EXPECT_EQ(checksOf(captureOf(rootOff)), Checks{"root-link-off"});
    std::vector<PhySelfId> noContender = healthy;
    for (PhySelfId& phy : noContender)
        phy.contender = false;
    EXPECT_EQ(checksOf(captureOf(noContender)), Checks{"no-irm-contender"});
    // A contender whose link is off cannot be the resource manager either.
    noContender[0].contender = true;
    noContender[0].linkActive = false;
    EXPECT_EQ(checksOf(captureOf(noContender)), Checks{"no-irm-contender"});
    // The root's bus options: cmc is bit 30 of the bus information block's third quadlet.
    lib1394::BusCapture withRom = captureOf(healthy);
    withRom.phys[2].rom = {0x04, 0x04, 0x00, 0x00, '1', '3', '9', '4', 0xA0, 0x00, 0xA0, 0x02};
    EXPECT_EQ(checksOf(withRom), Checks{"root-not-cycle-master"});
    withRom.phys[2].rom[8] = 0xE0;
    EXPECT_EQ(checksOf(withRom), Checks{});
    // Listed device files: a PHY with its link on and no file is named; a repeater is not.
    std::vector<PhySelfId> repeater = healthy;
    repeater[0].linkActive = false;
    lib1394::BusCapture listed = captureOf(repeater);
    listed.filesKnown = true;
    listed.phys[2].deviceFile = "/dev/fw0";
    EXPECT_EQ(checksOf(listed), Checks{"no-device-file"});
    EXPECT_NE(textOf(listed, "no-device-file").find("PHY 1 has an active link"), std::string::npos);
}

TEST(BusHealth, TheMapItself) {
    lib1394::BusCapture damaged = captureOf(withGap(selfIdsOf(chain(3)), 7));
    damaged.topology[3] ^= 1u << 11;
    EXPECT_EQ(checksOf(damaged), Checks{"topology-crc"});
    lib1394::BusCapture counted = captureOf(withGap(selfIdsOf(chain(3)), 7));
    counted.topology[2] = 4u << 16 | 3;
    EXPECT_EQ(checksOf(counted), (Checks{"topology-crc", "node-count"}));
    counted.topology[2] = 64u << 16 | 3;
    EXPECT_EQ(checksOf(counted), (Checks{"topology-crc", "too-many-nodes"}));
    // PHY 1's packet where PHY 0's was due: the self-IDs came out of sequence.
    lib1394::BusCapture swapped = captureOf(withGap(selfIdsOf(chain(3)), 7));
    std::swap(swapped.topology[3], swapped.topology[4]);
    EXPECT_EQ(checksOf(swapped),
              (Checks{"topology-crc", "self-id-sequence", "self-id-sequence", "tree"}));
    lib1394::BusCapture loop = captureOf(withGap(selfIdsOf(chain(3)), 7));
    loop.topology[3] |= 3u << 4; // PHY 0's port 1 a child too
    EXPECT_EQ(checksOf(loop), (Checks{"topology-crc", "tree"}));
    lib1394::BusCapture cut = captureOf(selfIdsOf(chain(3)));
    cut.topology.resize(4);
    EXPECT_EQ(checksOf(cut), Checks{"topology-map"});
    lib1394::BusCapture unread;
    unread.topologyTrouble = "permission denied";
    EXPECT_NE(textOf(unread, "topology-map").find("not read: permission denied"),
              std::string::npos);
}

} // namespace
} // namespace rombus
