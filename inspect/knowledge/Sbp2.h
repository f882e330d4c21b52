#pragma once

#include "inspect/knowledge/Sbp2Unit.h"
#include "inspect/rom/RomWalk.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rombus::decode {

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
