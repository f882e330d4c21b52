#include "inspect/model/SelfIds.h"
#include "rombus_support/BusShapes.h"

#include <gtest/gtest.h>

namespace rombus {
namespace {

using rombus_test::chain;
using rombus_test::selfIdsOf;

// A map header for these packets: length and CRC left to the test.
std::vector<uint32_t> withHeader(const std::vector<uint32_t>& packets, unsigned nodes) {
    std::vector<uint32_t> map = {static_cast<uint32_t>((packets.size() + 2) << 16), 7,
                                 nodes << 16 | static_cast<uint32_t>(packets.size())};
    map.insert(map.end(), packets.begin(), packets.end());
    return map;
}

TEST(SelfIds, DecodesEveryFieldOfPacketZeroBitByBit) {
    // 10 000010 0 1 111111 10 00 1 100 11 10 01 1 0: PHY 2, link on, gap count 63, S400,
    // contender, power class 4, ports child, parent, not connected, initiated the reset.
    const TopologyDecode map = decodeTopologyMap(withHeader({0x827F8CE6}, 1));
    ASSERT_EQ(map.phys.size(), 1u);
    const PhySelfId& phy = map.phys[0];
    EXPECT_EQ(phy.phyId, 2u);
    EXPECT_TRUE(phy.linkActive);
    EXPECT_EQ(phy.gapCount, 63u);
    EXPECT_EQ(phy.speed, 2u);
    EXPECT_TRUE(phy.contender);
    EXPECT_EQ(phy.powerClass, 4u);
    EXPECT_TRUE(phy.initiatedReset);
    EXPECT_EQ(phy.ports, (std::vector<PortState>{PortState::Child, PortState::Parent,
                                                 PortState::NotConnected}));
    // PHY 2 where PHY 0 was due.
    ASSERT_EQ(map.faults.size(), 1u);
    EXPECT_NE(map.faults[0].find("out of sequence"), std::string::npos);
    // The opposite bits: 10 000000 0 0 000000 00 00 0 000 00 00 00 0 0.
    const PhySelfId quiet = decodeTopologyMap(withHeader({0x80000000}, 1)).phys.at(0);
    EXPECT_FALSE(quiet.linkActive || quiet.contender || quiet.initiatedReset);
    EXPECT_EQ(quiet.gapCount + quiet.speed + quiet.powerClass, 0u);
}

TEST(SelfIds, ExtendedPacketsCarryPortsThreeToTwentySix) {
    // PHY 0 announcing more; extended packet 0 (10 000000 1 000 00, pa child ... ph parent, m 1);
    // extended packet 1 with ports 11 to 18 not connected.
    const std::vector<uint32_t> packets = {0x80000001, 0x80830009, 0x80900000 | 0x5555 << 2};
    const TopologyDecode map = decodeTopologyMap(withHeader(packets, 1));
    ASSERT_TRUE(map.refused.empty());
    EXPECT_TRUE(map.faults.empty()) << map.faults.front();
    const std::vector<PortState>& ports = map.phys.at(0).ports;
    ASSERT_EQ(ports.size(), 19u);
    EXPECT_EQ(ports[2], PortState::None);
    EXPECT_EQ(ports[3], PortState::Child);
    EXPECT_EQ(ports[4], PortState::None);
    EXPECT_EQ(ports[10], PortState::Parent);
    EXPECT_EQ(ports[11], PortState::NotConnected);
    EXPECT_EQ(ports[18], PortState::NotConnected);
    // A 27-port PHY survives encoding and decoding port for port.
    PhySelfId wide;
    for (unsigned i = 0; i < MaxPorts; ++i)
        wide.ports.push_back(static_cast<PortState>(i % 4));
    const TopologyDecode round = decodeTopologyMap(encodeTopologyMap(9, {wide}));
    EXPECT_TRUE(round.crcOk());
    EXPECT_EQ(round.selfIdCount, 4u);
    EXPECT_EQ(round.phys.at(0).ports, wide.ports);
}

TEST(SelfIds, HeaderIsCheckedAsARomBlock) {
    std::vector<uint32_t> map = encodeTopologyMap(5, selfIdsOf(chain(3)));
    TopologyDecode good = decodeTopologyMap(map);
    EXPECT_TRUE(good.crcOk());
    EXPECT_EQ(good.generation, 5u);
    EXPECT_EQ(good.nodeCount, 3u);
    EXPECT_EQ(good.length, 5u);
    map[4] ^= 1u << 22; // a link bit flipped in transit
    const TopologyDecode damaged = decodeTopologyMap(map);
    EXPECT_FALSE(damaged.crcOk());
    EXPECT_EQ(damaged.storedCrc, good.storedCrc);
    // The CRC covers the length's quadlets only: one more read after them changes nothing.
    std::vector<uint32_t> longer = encodeTopologyMap(5, selfIdsOf(chain(3)));
    longer.push_back(0xDEADBEEF);
    EXPECT_TRUE(decodeTopologyMap(longer).crcOk());
}

TEST(SelfIds, HostileMapsAreRefusedWithAReason) {
    // A length past the quadlets read.
    EXPECT_NE(decodeTopologyMap({0xFFFF0000, 0, 0}).refused.find("runs past the 3 quadlets"),
              std::string::npos);
    EXPECT_NE(decodeTopologyMap({}).refused.find("empty"), std::string::npos);
    EXPECT_NE(decodeTopologyMap({0x00010000, 0}).refused.find("no room"), std::string::npos);
    // More self-IDs counted than the length covers.
    EXPECT_NE(decodeTopologyMap({0x00020000, 0, 0x0001FFFF}).refused.find("counts 65535"),
              std::string::npos);
    // 64 PHYs: one more than a bus holds.
    std::vector<uint32_t> packets;
    for (uint32_t id = 0; id < 64; ++id)
        packets.push_back(0x80000000 | (id & 0x3F) << 24);
    const TopologyDecode tooMany = decodeTopologyMap(withHeader(packets, 64));
    EXPECT_NE(tooMany.refused.find("more than 63 PHYs"), std::string::npos);
    // Not self-ID packets, extended packets without their PHY or out of order, a last PHY that
    // announces more: faults, the rest decoded.
    const TopologyDecode odd = decodeTopologyMap(
        withHeader({0x00000000, 0x80000001, 0x80900000, 0x81800000, 0x81000001}, 2));
    EXPECT_EQ(odd.phys.size(), 2u);
    ASSERT_EQ(odd.faults.size(), 5u);
    EXPECT_NE(odd.faults[0].find("not a self-ID packet"), std::string::npos);
    EXPECT_NE(odd.faults[1].find("where packet 0 was due"), std::string::npos);
    EXPECT_NE(odd.faults[2].find("follows no packet 0"), std::string::npos);
    EXPECT_NE(odd.faults[3].find("quadlet 7 begins the next PHY"), std::string::npos);
    EXPECT_NE(odd.faults[4].find("the map ends"), std::string::npos);
}

} // namespace
} // namespace rombus
