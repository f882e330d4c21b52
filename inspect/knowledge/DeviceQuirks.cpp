#include "inspect/knowledge/DeviceQuirks.h"

#include "inspect/rom/RomWalk.h"

#include <algorithm>
#include <iterator>

namespace rombus {
namespace {

constexpr uint32_t BusOptionsOffset = 8;
constexpr uint32_t GuidHighOffset = 12;
constexpr uint32_t GenerationMask = 0x000000F0;
constexpr uint32_t CanonCompany = 0x000085;

// A quadlet of the root directory, by its index from the directory's header (index 0).
struct RootQuadlet {
    uint32_t index;
    uint32_t value;
};

// Models the core knows by fixed quadlets of their root directory.
struct ModelQuirk {
    const char* name;
    const char* text;
    std::vector<RootQuadlet> quadlets;
};

const ModelQuirk modelQuirks[] = {
    {"ACK_PACKET_WITH_INVALID_PENDING_CODE",
     "the MOTU Audio Express answers requests with an invalid pending acknowledge code; the "
     "kernel takes it for ack_pending",
     {{1, 0x030001F2},
      {3, 0xD1000002},
      {4, 0x8D000005},
      {6, 0x120001F2},
      {7, 0x13000033},
      {8, 0x17104800}}},
    {"UNSTABLE_AT_S400",
     "the TASCAM FW-1884, FW-1804 and FW-1082 time out on asynchronous requests at S400; newer "
     "kernels talk to them at S200",
     {{1, 0x0300022E}, {3, 0x8D000006}, {4, 0xD1000001}, {6, 0x1200022E}, {8, 0xD4000004}}},
};

bool rootHolds(const std::vector<uint8_t>& rom, const std::vector<RootQuadlet>& quadlets) {
    return std::all_of(quadlets.begin(), quadlets.end(), [&](const RootQuadlet& quadlet) {
        return decode::quadletAt(rom, decode::RootDirectoryOffset + 4 * quadlet.index) ==
               quadlet.value;
    });
}

} // namespace

std::vector<DeviceQuirk> deviceQuirksOf(const std::vector<uint8_t>& rom) {
    std::vector<DeviceQuirk> quirks;
    const auto options = decode::quadletAt(rom, BusOptionsOffset);
    const auto guidHigh = decode::quadletAt(rom, GuidHighOffset);
    if (options && (*options & GenerationMask) == 0)
        quirks.push_back({"IRM_IS_1394_1995_ONLY",
                          "the bus options' generation field is 0, as on an IEEE 1394-1995 node: "
                          "as isochronous resource manager, the kernel does not contend with it "
                          "to be bus manager and makes the local node root"});
    if (guidHigh && (*guidHigh >> 8) == CanonCompany)
        quirks.push_back({"IRM_IGNORES_BUS_MANAGER",
                          "a Canon device (company id 000085h): as isochronous resource manager "
                          "it ignores the bus manager lock, and the kernel keeps it as it is"});
    for (const ModelQuirk& model : modelQuirks)
        if (rootHolds(rom, model.quadlets))
            quirks.push_back({model.name, model.text});
    return quirks;
}

} // namespace rombus
