#pragma once

#include "inspect/RomDecoder.h"
#include "lib1394/RomImageBus.h"
#include "libRombus/Message.h"
#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// A finding of the decoder that the module does not report, at a ROM offset. Advisories never
// change the module's records or the exit status, unless --strict asks for them to count.
struct Advisory {
    uint32_t offset;
    std::string kind; // reversed-crc, past-end, unchecked-crc, eui64-mismatch,
                      // sysfs-guid-mismatch, reserved-bus-option, architecture-entry
    std::string text;
};

// What a node's decoded ROM shows that the module's records do not: CRCs that match only over
// byte-reversed quadlets, lengths past the ROM's end, wrong CRCs of blocks the module did not
// check, an EUI-64 leaf or a sysfs guid that disagrees with the bus information block, reserved
// bus option values, and entries the module refuses that the unit's architecture defines.
ROMBUS_API std::vector<Advisory> advisoriesOf(const decode::DecodedRom& decoded,
                                              const lib1394::RomNode& node,
                                              const libRombus::Messages& records);

} // namespace rombus
