#include "lib1394/TopologyMap.h"

namespace lib1394 {
namespace {

constexpr unsigned HeaderQuadlets = 3;
// Self-ID packet 0 (most significant bit first): 10, phy_ID (6), 0, L, gap_cnt (6), sp (2),
// del (2), c, pwr (3), p0, p1, p2 (2 each), i, m. Extended packets have 1 where packet 0 has 0.
constexpr uint32_t ExtendedBit = 1u << 23;
constexpr uint32_t LinkActiveBit = 1u << 22;

constexpr const char* SpeedNames[] = {"S100", "S200", "S400", "S800 or faster (1394b)"};

} // namespace

std::optional<TopologyMap> parseTopologyMap(const std::vector<uint32_t>& quadlets) {
    if (quadlets.size() < HeaderQuadlets)
        return std::nullopt;
    TopologyMap map;
    map.generation = quadlets[1];
    map.nodeCount = quadlets[2] >> 16;
    const size_t selfIds = quadlets[2] & 0xFFFF;
    if (quadlets.size() < HeaderQuadlets + selfIds)
        return std::nullopt;
    for (size_t i = HeaderQuadlets; i < HeaderQuadlets + selfIds; ++i) {
        const uint32_t packet = quadlets[i];
        if ((packet & ExtendedBit) != 0)
            continue;
        SelfId node;
        node.phyId = packet >> 24 & 0x3F;
        node.speed = packet >> 14 & 0x3;
        node.linkActive = (packet & LinkActiveBit) != 0;
        map.nodes.push_back(node);
    }
    return map;
}

std::string speedName(unsigned speed) {
    return speed < std::size(SpeedNames) ? SpeedNames[speed]
                                         : "speed code " + std::to_string(speed);
}

} // namespace lib1394
