#include "inspect/model/SelfIds.h"

#include "inspect/rom/RomDecoder.h"

#include <cstdio>

namespace rombus {
namespace {

constexpr unsigned HeaderQuadlets = 3;
// Self-ID packet 0, most significant bit first: 10, phy_ID (6), 0, L, gap_cnt (6), sp (2),
// del (2), c, pwr (3), p0, p1, p2 (2 each), i, m. An extended packet: 10, phy_ID (6), 1, n (3),
// reserved (2), pa to ph (2 each), reserved, m.
constexpr uint32_t SelfIdTag = 2;
constexpr uint32_t ExtendedBit = 1u << 23;
constexpr uint32_t LinkActiveBit = 1u << 22;
constexpr uint32_t ContenderBit = 1u << 11;
constexpr uint32_t InitiatedResetBit = 1u << 1;
constexpr uint32_t MoreBit = 1u;
constexpr unsigned PortsInFirst = 3;
constexpr unsigned PortsInExtended = 8;
constexpr unsigned MaxExtended = 3;

constexpr const char* PortStateNames[] = {"none", "not connected", "parent", "child"};
constexpr const char* SpeedNames[] = {"S100", "S200", "S400", "S800 or faster"};
// The power classes of IEEE 1394-1995, as the Linux FireWire stack names them.
constexpr const char* PowerClassNames[] = {"no power",
                                           "provides 15 W",
                                           "provides 30 W",
                                           "provides 45 W",
                                           "draws up to 1 W",
                                           "draws 1 W, 3 W with its link on",
                                           "draws 1 W, 6 W with its link on",
                                           "draws 1 W, 10 W with its link on"};

std::string hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%08X", value);
    return text;
}

std::string at(unsigned quadlet) {
    return "quadlet " + std::to_string(quadlet);
}

PortState portAt(uint32_t packet, unsigned shift) {
    return static_cast<PortState>(packet >> shift & 3);
}

PhySelfId firstPacket(uint32_t packet) {
    PhySelfId phy;
    phy.phyId = packet >> 24 & 0x3F;
    phy.linkActive = (packet & LinkActiveBit) != 0;
    phy.gapCount = packet >> 16 & 0x3F;
    phy.speed = packet >> 14 & 3;
    phy.contender = (packet & ContenderBit) != 0;
    phy.powerClass = packet >> 8 & 7;
    phy.initiatedReset = (packet & InitiatedResetBit) != 0;
    for (unsigned shift : {6u, 4u, 2u})
        phy.ports.push_back(portAt(packet, shift));
    return phy;
}

// Reads the self-ID packets in order, one PHY after the other, each PHY's extended packets after
// its packet 0 and only where the packet before announced more.
class PacketReader {
public:
    explicit PacketReader(TopologyDecode& map) : map_(map) {}

    bool take(uint32_t packet, unsigned quadlet);
    void finish();

private:
    bool takeFirst(uint32_t packet, unsigned quadlet);
    void takeExtended(uint32_t packet, unsigned quadlet);

    TopologyDecode& map_;
    bool more_ = false;
    unsigned nextExtended_ = 0;
};

bool PacketReader::take(uint32_t packet, unsigned quadlet) {
    if (packet >> 30 != SelfIdTag) {
        map_.faults.push_back(at(quadlet) + " (" + hex(packet) +
                              ") is not a self-ID packet: its first two bits are not 10");
        return true;
    }
    if ((packet & ExtendedBit) == 0)
        return takeFirst(packet, quadlet);
    takeExtended(packet, quadlet);
    return true;
}

bool PacketReader::takeFirst(uint32_t packet, unsigned quadlet) {
    if (map_.phys.size() == MaxPhys) {
        map_.refused = "it holds self-ID packets of more than " + std::to_string(MaxPhys) +
                       " PHYs (a 64th at " + at(quadlet) + "); a bus has at most " +
                       std::to_string(MaxPhys);
        return false;
    }
    if (more_)
        map_.faults.push_back("PHY " + std::to_string(map_.phys.back().phyId) +
                              " announces another self-ID packet, but " + at(quadlet) +
                              " begins the next PHY");
    PhySelfId phy = firstPacket(packet);
    if (phy.phyId != map_.phys.size())
        map_.faults.push_back("self-ID packets out of sequence: " + at(quadlet) + " is PHY " +
                              std::to_string(phy.phyId) + "'s, where PHY " +
                              std::to_string(map_.phys.size()) + "'s was due");
    map_.phys.push_back(std::move(phy));
    more_ = (packet & MoreBit) != 0;
    nextExtended_ = 0;
    return true;
}

void PacketReader::takeExtended(uint32_t packet, unsigned quadlet) {
    const unsigned phyId = packet >> 24 & 0x3F;
    const unsigned number = packet >> 20 & 7;
    const std::string what = "the extended self-ID packet at " + at(quadlet) + " (PHY " +
                             std::to_string(phyId) + ", packet " + std::to_string(number) + ")";
    if (map_.phys.empty() || map_.phys.back().phyId != phyId) {
        map_.faults.push_back(what + " follows no packet 0 of its PHY; left out");
        return;
    }
    if (number != nextExtended_ || number >= MaxExtended) {
        map_.faults.push_back(what + " comes where packet " + std::to_string(nextExtended_) +
                              " was due; left out");
        return;
    }
    if (!more_)
        map_.faults.push_back(what + " was not announced by the packet before it");
    for (unsigned shift = 16;; shift -= 2) {
        map_.phys.back().ports.push_back(portAt(packet, shift));
        if (shift == 2)
            break;
    }
    more_ = (packet & MoreBit) != 0;
    ++nextExtended_;
}

void PacketReader::finish() {
    if (more_ && !map_.phys.empty())
        map_.faults.push_back("PHY " + std::to_string(map_.phys.back().phyId) +
                              " announces another self-ID packet, but the map ends");
}

// The length, CRC and counts of the header; false, with the reason, when they leave nothing to
// decode safely.
bool readHeader(const std::vector<uint32_t>& quadlets, TopologyDecode& map) {
    if (quadlets.empty()) {
        map.refused = "the map is empty";
        return false;
    }
    map.length = quadlets[0] >> 16;
    map.storedCrc = static_cast<uint16_t>(quadlets[0]);
    if (map.length + 1 > quadlets.size()) {
        map.refused = "its length, " + std::to_string(map.length) +
                      " quadlets after the first, runs past the " +
                      std::to_string(quadlets.size()) + " quadlets read";
        return false;
    }
    if (map.length < HeaderQuadlets - 1) {
        map.refused = "its length, " + std::to_string(map.length) +
                      " quadlets, leaves no room for the generation and the counts";
        return false;
    }
    map.crc = decode::crc16(
        std::vector<uint32_t>(quadlets.begin() + 1, quadlets.begin() + 1 + map.length));
    map.crcKnown = true;
    map.generation = quadlets[1];
    map.nodeCount = quadlets[2] >> 16;
    map.selfIdCount = quadlets[2] & 0xFFFF;
    const unsigned room = map.length - (HeaderQuadlets - 1);
    if (map.selfIdCount > room) {
        map.refused = "it counts " + std::to_string(map.selfIdCount) +
                      " self-ID packets, but its length leaves room for " + std::to_string(room);
        return false;
    }
    if (map.selfIdCount < room)
        map.faults.push_back("its length covers " + std::to_string(room - map.selfIdCount) +
                             " quadlets past the " + std::to_string(map.selfIdCount) +
                             " self-ID packets it counts");
    return true;
}

} // namespace

TopologyDecode decodeTopologyMap(const std::vector<uint32_t>& quadlets) {
    TopologyDecode map;
    if (!readHeader(quadlets, map))
        return map;
    PacketReader reader(map);
    for (unsigned i = 0; i < map.selfIdCount; ++i)
        if (!reader.take(quadlets[HeaderQuadlets + i], HeaderQuadlets + i))
            return map;
    reader.finish();
    return map;
}

std::vector<uint32_t> encodeSelfId(const PhySelfId& phy) {
    auto port = [&phy](size_t index) {
        return index < phy.ports.size() ? static_cast<uint32_t>(phy.ports[index]) : 0u;
    };
    const size_t extended =
        phy.ports.size() <= PortsInFirst
            ? 0
            : (phy.ports.size() - PortsInFirst + PortsInExtended - 1) / PortsInExtended;
    const uint32_t head = SelfIdTag << 30 | (phy.phyId & 0x3F) << 24;
    std::vector<uint32_t> packets = {
        head | (phy.linkActive ? LinkActiveBit : 0) | (phy.gapCount & 0x3F) << 16 |
        (phy.speed & 3) << 14 | (phy.contender ? ContenderBit : 0) | (phy.powerClass & 7) << 8 |
        port(0) << 6 | port(1) << 4 | port(2) << 2 | (phy.initiatedReset ? InitiatedResetBit : 0)};
    for (size_t n = 0; n < extended && n < MaxExtended; ++n) {
        packets.back() |= MoreBit;
        uint32_t packet = head | ExtendedBit | static_cast<uint32_t>(n) << 20;
        for (unsigned i = 0; i < PortsInExtended; ++i)
            packet |= port(PortsInFirst + PortsInExtended * n + i) << (16 - 2 * i);
        packets.push_back(packet);
    }
    return packets;
}

std::vector<uint32_t> encodeTopologyMap(uint32_t generation, const std::vector<PhySelfId>& phys) {
    std::vector<uint32_t> packets;
    for (const PhySelfId& phy : phys)
        for (uint32_t packet : encodeSelfId(phy))
            packets.push_back(packet);
    std::vector<uint32_t> body = {generation,
                                  static_cast<uint32_t>(phys.size() << 16 | packets.size())};
    body.insert(body.end(), packets.begin(), packets.end());
    std::vector<uint32_t> map = {static_cast<uint32_t>(body.size() << 16 | decode::crc16(body))};
    map.insert(map.end(), body.begin(), body.end());
    return map;
}

const char* portStateName(PortState state) {
    return PortStateNames[static_cast<unsigned>(state) & 3];
}

std::string phySpeedName(unsigned speed) {
    return speed < std::size(SpeedNames) ? SpeedNames[speed]
                                         : "speed code " + std::to_string(speed);
}

const char* powerClassName(unsigned powerClass) {
    return PowerClassNames[powerClass & 7];
}

} // namespace rombus
