#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// The state of one port of a PHY as its self-ID packets tell it.
enum class PortState : uint8_t { None, NotConnected, Parent, Child };

// One PHY of the bus as its self-ID packets tell it: packet 0 and the extended packets of its
// ports past the third.
struct PhySelfId {
    unsigned phyId = 0;
    bool linkActive = false;
    unsigned gapCount = 0;
    // 0 S100, 1 S200, 2 S400, 3 faster (1394b).
    unsigned speed = 0;
    bool contender = false;
    // 0 no power, 1 to 3 provides 15, 30 or 45 W, 4 to 7 draws from the bus.
    unsigned powerClass = 0;
    bool initiatedReset = false;
    // Ports 0 to 2 from packet 0, then 8 for every extended packet: up to 27.
    std::vector<PortState> ports;
};

// A topology map as read from a node (FFFFF0001000h): the header checked as a ROM's blocks are,
// the self-ID packets decoded, and what is wrong with their layout.
struct TopologyDecode {
    unsigned length = 0; // quadlets the header says follow it
    uint16_t storedCrc = 0;
    uint16_t crc = 0; // the CRC-16 of the quadlets that length covers, as read
    bool crcKnown = false;
    uint32_t generation = 0;
    unsigned nodeCount = 0;
    unsigned selfIdCount = 0;
    std::vector<PhySelfId> phys;
    // Layout faults that leave the PHYs decoded (packets out of sequence, counts that disagree).
    std::vector<std::string> faults;
    // Why the map could not be decoded at all; empty when it was.
    std::string refused;

    bool crcOk() const { return crcKnown && crc == storedCrc; }
};

// The most PHYs a bus holds (physical ids 0 to 62; 63 addresses all of them).
constexpr unsigned MaxPhys = 63;
// The most ports a PHY tells of: 3 in packet 0, 8 in each of up to three extended packets.
constexpr unsigned MaxPorts = 27;

// Decodes a topology map from its quadlets as numbers (the first being the length and CRC).
ROMBUS_API TopologyDecode decodeTopologyMap(const std::vector<uint32_t>& quadlets);

// The self-ID packets of one PHY for a map: packet 0, then as many extended packets as its ports
// need. Builds stand-in buses and saved maps.
ROMBUS_API std::vector<uint32_t> encodeSelfId(const PhySelfId& phy);

// A whole topology map, header and CRC included, of these PHYs.
ROMBUS_API std::vector<uint32_t> encodeTopologyMap(uint32_t generation,
                                                   const std::vector<PhySelfId>& phys);

// Words for a port state, a speed code and a power class.
ROMBUS_API const char* portStateName(PortState state);
ROMBUS_API std::string phySpeedName(unsigned speed);
ROMBUS_API const char* powerClassName(unsigned powerClass);

} // namespace rombus
