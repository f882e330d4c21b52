#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lib1394 {

// A PHY's vendor identification page (page 1 of an IEEE 1394a PHY's registers) as read through
// remote access PHY packets.
struct PhyIdentity {
    bool asked = false;    // the local node's file could send PHY packets
    bool answered = false; // every register came back
    uint32_t vendorId = 0; // registers 2 to 4: the PHY maker's company id
    uint32_t productId = 0;
    // Why the page was not read (a 1394-1995 PHY answers no remote access), when it was not.
    std::string trouble;
};

// What the bus tells of one of its PHYs beside its self-ID packets: the device file the kernel
// made for its node, the node's unique id and ROM, and the PHY's own ids.
struct PhyFacts {
    std::string deviceFile; // empty: the kernel made none
    uint64_t guid = 0;
    std::vector<uint8_t> rom; // bus order; empty when not read
    PhyIdentity identity;
};

// A bus as one card sees it after its last bus reset: the node ids of the kernel's bus reset
// event (FFFFh where not known, physical id 63 where none), the local node's topology map
// (quadlets as numbers) or why it was not read, and what is known of each PHY by physical id.
struct BusCapture {
    std::string name; // "card 0"
    uint32_t generation = 0;
    uint32_t localNodeId = 0xFFFF;
    uint32_t rootNodeId = 0xFFFF;
    uint32_t irmNodeId = 0xFFFF;
    uint32_t bmNodeId = 0xFFFF;
    std::vector<uint32_t> topology;
    std::string topologyTrouble;
    std::map<unsigned, PhyFacts> phys;
    // Whether the device files were listed: then a PHY without one in phys has none.
    bool filesKnown = false;
};

} // namespace lib1394
