#pragma once

#include "inspect/rom/RomWalk.h"

#include <cstdint>
#include <optional>
#include <string>
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

// The SBP-2 entries of a unit directory, when the unit is SBP-2 (00609Eh:010483h).
std::optional<Sbp2Unit> sbp2Of(const std::vector<uint8_t>& rom, const UnitIds& unit);

// "mgt_ORB_timeout 5000 ms, ORB_size 8 quadlets": a Unit_Characteristics value.
std::string unitCharacteristicsText(uint32_t value);

// The CSR address of a Management_Agent entry's offset (in quadlets).
uint64_t managementAgentAddress(uint32_t offset);

// The meaning of an SBP-2 entry: "Firmware_Revision 0A2B3Ch", "Unit_Characteristics:
// mgt_ORB_timeout 5000 ms, ORB_size 8 quadlets"; empty for keys SBP-2 does not define.
std::string sbp2EntryMeaning(uint8_t key, uint32_t value);

// Descriptions of the SBP-2 entries of a ROM's SBP-2 units, by the ROM offset of each entry.
std::vector<std::pair<uint32_t, std::string>> sbp2Meanings(const std::vector<uint8_t>& rom,
                                                           const std::vector<UnitIds>& units);

} // namespace rombus::decode
