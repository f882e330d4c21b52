#pragma once

#include "inspect/verdicts/CrcCauses.h"
#include "lib1394/RomImageBus.h"
#include "libRombus/Message.h"
#include "zul/Api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// What one of the module's records means in the ROM: where the fault lies, what the value should
// be and, where a known firmware mistake produces it, why. One per record, in the records' order.
struct Explanation {
    // "crc", "entry", "signature", "read" or "other".
    std::string kind;
    // The ROM offset of the block's header, the entry, or the read.
    std::optional<uint32_t> offset;
    // A CRC record: the block's kind ("bus-info", "directory", "leaf"), its stored and correct CRC,
    // the quadlet to store at its header (absent when the ROM does not hold the whole block), and
    // the recognised causes' ids.
    std::string block;
    std::optional<uint16_t> storedCrc, correctCrc;
    std::optional<uint32_t> fix;
    std::vector<std::string> causes;
    // Every wrong CRC of the ROM has these same causes: they are said once for the ROM.
    bool causeOfEveryBadCrc = false;
    // An entry record: the entry's key, and the standard that defines the entry otherwise.
    std::optional<uint8_t> key;
    std::string definedBy;
    // What the explanation says, for people.
    std::string note;
};

// The explanation of every record of a node. A ROM from the kernel's sysfs copy is said to be
// the kernel's copy where it explains a read past its end.
ROMBUS_API std::vector<Explanation> explainRecords(const decode::DecodedRom& decoded,
                                                   const libRombus::Messages& records,
                                                   bool kernelCopy);

// "Every wrong CRC of this ROM has one cause: ..." when two or more blocks have wrong CRCs and
// the same known cause, else empty.
ROMBUS_API std::string sharedCrcCause(const decode::DecodedRom& decoded);

// Whether the module stopped at the bus information block (a wrong signature, a failed read of it,
// or a wrong CRC at error level), so that it read no directory of the ROM.
ROMBUS_API bool stoppedAtBusInfo(const libRombus::Messages& records);

// Whether a node's ROM is the kernel's copy in sysfs (its label is the kernel's device name,
// fwN), which holds only the quadlets the kernel reached.
ROMBUS_API bool isKernelCopy(const lib1394::RomNode& node);

} // namespace rombus
