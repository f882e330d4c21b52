#pragma once

#include "inspect/rom/RomDecoder.h"

#include <cstdint>
#include <optional>
#include <string>

namespace rombus {

// What an entry the IEEE 1212-2001 rules refuse meant before, or means to the unit that holds it.

// The meaning of a key id in IEEE 1212-1994 that IEEE 1212-2001 dropped or renamed, and how a
// current ROM writes the same fact ("Node_Vendor_Id in IEEE 1212-1994, superseded: current ROMs
// give the vendor in a Vendor entry (key 03h) and in the GUID's company id"); empty for others.
std::string formerMeaning(uint8_t key);

// Whether IEEE 1212-1994 put an entry of that key id in the directory it is in: its node and
// module keys in the root directory, Unit_Poll_Mask in a unit directory.
bool formerlyPermitted(uint8_t key, bool rootDirectory);

// The unit architecture that defines an entry of a directory of the ROM (the unit directory or
// its unit-dependent directory, by its header's offset) and what the entry is there; empty when
// none does.
struct ArchitectureMeaning {
    std::string architecture; // "IIDC 1.30 (digital camera)"
    std::string name;         // "command_regs_base"
};
std::optional<ArchitectureMeaning> architectureMeaning(const decode::DecodedRom& decoded,
                                                       uint32_t directory, uint8_t key);

} // namespace rombus
