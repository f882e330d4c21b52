#pragma once

#include "inspect/rom/RomDecoder.h"
#include "lib1394/RomImageBus.h"
#include "libRombus/Message.h"
#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// An advisory is a likely bug (a value a standard forbids, a recognisable firmware mistake) and
// counts with --strict; a note is worth knowing and never changes the exit status.
enum class Severity { Advisory, Note };

// "advisory", "note".
ROMBUS_API const char* severityName(Severity severity);

// A finding of the decoder that the module does not report, at a ROM offset. Advisories never
// change the module's records or the exit status, unless --strict asks for them to count.
struct Advisory {
    uint32_t offset;
    // reversed-crc, past-end, unchecked-crc, block-overlap, eui64-mismatch, sysfs-guid-mismatch,
    // reserved-bus-option, kernel-copy-kernel-missing, kernel-copy-kernel-zeroed,
    // kernel-copy-kernel-unreached, kernel-copy-changed, kernel-copy-device-missing (a ROM read
    // live against the kernel's copy), no-driver, driver-refuses, bootloader (what Linux drivers
    // make of a unit)
    std::string kind;
    std::string text;
    Severity severity = Severity::Advisory;
};

// What a node's decoded ROM shows that the module's records do not: CRCs that match only over
// byte-reversed quadlets, lengths past the ROM's end, wrong CRCs the module did not record at its
// CRC level, blocks that run into each other, an EUI-64 leaf or a sysfs guid that disagrees with
// the bus information block, bus option values IEEE 1394 reserves or forbids, and where a ROM
// read live from the device differs from the kernel's copy of it.
ROMBUS_API std::vector<Advisory> advisoriesOf(const decode::DecodedRom& decoded,
                                              const lib1394::RomNode& node,
                                              const libRombus::Messages& records,
                                              unsigned crcLevel);

} // namespace rombus
