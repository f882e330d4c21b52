#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lib1394 {

// One node of a bus as its self-ID packet tells it.
struct SelfId {
    unsigned phyId = 0;
    // The PHY's speed code: 0 S100, 1 S200, 2 S400, 3 faster (1394b; its PHY registers tell).
    unsigned speed = 0;
    // Only a node whose link layer is active answers requests and so has a ROM to read.
    bool linkActive = false;
};

// The topology map a bus's node keeps at FFFFF0001000h: its length and CRC, the generation, the
// node and self-ID counts, then the self-ID packets of the last bus reset.
struct TopologyMap {
    uint32_t generation = 0;
    unsigned nodeCount = 0;
    std::vector<SelfId> nodes; // from packet 0 of every node, extended packets skipped
};

// The map from its quadlets as numbers; nothing when they are too few for the counts they hold.
ROMBUS_API std::optional<TopologyMap> parseTopologyMap(const std::vector<uint32_t>& quadlets);

// The speed of a speed code in words: "S100", "S200", "S400", "S800 or faster (1394b)".
ROMBUS_API std::string speedName(unsigned speed);

} // namespace lib1394
