#pragma once

#include "inspect/knowledge/DeviceQuirks.h"
#include "inspect/knowledge/DriverMatch.h"
#include "inspect/knowledge/ProbeGates.h"
#include "inspect/rom/RomDecoder.h"
#include "inspect/verdicts/Advisories.h"
#include "zul/Api.h"

#include <optional>
#include <string>
#include <vector>

namespace rombus {

// What the Linux kernel does with one unit directory: the drivers that take it, or the entries
// it nearly meets, what those drivers find when they probe it, and a bootloader it is.
struct UnitDrivers {
    UnitMatch match;
    std::vector<ProbeNote> probes;
    std::string bootloader;
};

// What the Linux kernel does with a node: its units' drivers (one per decoded unit, in order),
// the core's quirks for it and, for a DICE device, its GUID decoded.
struct NodeDrivers {
    std::string table; // where the drivers' entries come from
    std::vector<UnitDrivers> units;
    std::vector<DeviceQuirk> quirks;
    std::optional<DiceGuid> dice;
};

ROMBUS_API NodeDrivers driversOf(const decode::DecodedRom& decoded, const DriverTable& table);

// Units no driver takes that look as if one should (an AV/C unit of a vendor some driver's
// entries name), drivers that refuse a unit at probe time (an advisory where the ROM means the
// driver and gets a detail wrong, else a note), and bootloaders (notes).
ROMBUS_API std::vector<Advisory> driverAdvisories(const decode::DecodedRom& decoded,
                                                  const NodeDrivers& drivers,
                                                  const DriverTable& table);

} // namespace rombus
