#pragma once

#include "inspect/knowledge/DriverTable.h"
#include "inspect/rom/RomDecoder.h"
#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// What a driver that takes a unit does with it when it probes, from the drivers' own checks of
// the ROM: it refuses it, it finds a bootloader, or it takes it after a check the ROM passes.
enum class ProbeVerdict { Refuses, Bootloader, Passes };

struct ProbeNote {
    std::string driver;
    ProbeVerdict verdict = ProbeVerdict::Passes;
    std::string text;
    // The ROM says it is meant for the driver and gets a detail wrong (a DICE GUID of the unit's
    // company with the wrong category or product): a likely firmware bug, not a unit of another
    // kind that the driver's general entry also takes.
    bool likelyBug = false;
};

// The GUID of a DICE device: the company id, then a chip id of an 8-bit category, a 10-bit
// product id (the unit's model id) and a 22-bit serial number.
struct DiceGuid {
    uint32_t company = 0;
    uint32_t category = 0;
    uint32_t product = 0;
    uint32_t serial = 0;
};

ROMBUS_API DiceGuid diceGuidOf(uint64_t guid);

// The category byte snd-dice expects in the GUID of a unit whose specifier id is a company's.
ROMBUS_API uint32_t diceCategoryFor(uint32_t specifier);

// The probe-time checks of the drivers that take a unit, for the drivers that make them:
// snd-dice's GUID layout, snd-oxfw's model names for Loud units, snd-bebob's bootloaders.
ROMBUS_API std::vector<ProbeNote> probeNotes(const decode::DecodedRom& decoded,
                                             const decode::UnitIds& unit,
                                             const std::vector<DriverId>& matches);

// The text of a unit's model name (the textual descriptor right after its model id 17h), as the
// drivers read it; empty when the unit has none.
ROMBUS_API std::string unitModelName(const decode::DecodedRom& decoded,
                                     const decode::UnitIds& unit);

// A unit in a bootloader or firmware-update mode, from its ids or from its names; empty when
// nothing says so.
ROMBUS_API std::string bootloaderOf(const decode::DecodedRom& decoded, const decode::UnitIds& unit);

} // namespace rombus
