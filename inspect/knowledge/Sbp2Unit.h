#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace rombus::decode {

// A logical unit of an SBP-2 unit: its Logical_Unit_Number entry (key 14h), in the unit
// directory or in a Logical_Unit_Directory (key D4h) of its own.
struct Sbp2LogicalUnit {
    uint32_t entry = 0;      // ROM offset of the Logical_Unit_Number entry
    uint32_t directory = 0;  // ROM offset of its logical unit directory; 0 in the unit directory
    uint32_t lun = 0;        // bits 15-0
    uint32_t deviceType = 0; // bits 20-16, as SCSI peripheral device types
    bool ordered = false;    // bit 22
};

// What SBP-2 (ANSI NCITS 325-1998, clause 7) defines in a unit directory, where present.
struct Sbp2Unit {
    std::optional<uint32_t> commandSetSpecId;    // key 38h
    std::optional<uint32_t> commandSet;          // key 39h
    std::optional<uint32_t> commandSetRevision;  // key 3Bh
    std::optional<uint32_t> firmwareRevision;    // key 3Ch
    std::optional<uint32_t> unitCharacteristics; // key 3Ah
    std::optional<uint32_t> managementAgent;     // key 54h, a CSR offset in quadlets
    std::vector<Sbp2LogicalUnit> logicalUnits;
};

} // namespace rombus::decode
