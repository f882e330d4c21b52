#include "inspect/knowledge/NodeDrivers.h"

#include "inspect/io/Format.h"
#include "lib1394/RomImageBus.h"

#include <algorithm>

namespace rombus {
namespace {

constexpr uint32_t Ta1394 = 0x00A02D;
// The 1394 TA's unit versions of AV/C devices: AV/C, vendor unique and AV/C, and the version
// Echo's Fireworks devices give their AV/C units.
constexpr uint32_t avcVersions[] = {0x010001, 0x014001, 0x010000};

bool isAvc(const decode::UnitIds& unit) {
    return unit.specifier == Ta1394 && std::find(std::begin(avcVersions), std::end(avcVersions),
                                                 unit.version) != std::end(avcVersions);
}

// A driver whose entries name the vendor.
const DriverId* driverOfVendor(const DriverTable& table, uint32_t vendor) {
    for (const DriverId& id : table.ids)
        if ((id.flags & MatchVendor) && id.vendor == vendor)
            return &id;
    return nullptr;
}

} // namespace

NodeDrivers driversOf(const decode::DecodedRom& decoded, const DriverTable& table) {
    NodeDrivers drivers;
    drivers.table = table.source;
    drivers.quirks = deviceQuirksOf(decoded.rom);
    for (const decode::UnitIds& unit : decoded.units) {
        UnitDrivers view;
        view.match = matchUnit(table, unit);
        view.probes = probeNotes(decoded, unit, view.match.matches);
        view.bootloader = bootloaderOf(decoded, unit);
        // A unit snd_dice takes is a DICE unless its GUID is plainly of another layout.
        const bool dice =
            std::any_of(view.match.matches.begin(), view.match.matches.end(),
                        [](const DriverId& id) { return id.driver == "snd_dice"; }) &&
            std::none_of(view.probes.begin(), view.probes.end(), [](const ProbeNote& probe) {
                return probe.verdict == ProbeVerdict::Refuses && !probe.likelyBug;
            });
        if (dice && !drivers.dice && decoded.rom.size() >= 20)
            drivers.dice = diceGuidOf(lib1394::guidOfRom(decoded.rom));
        drivers.units.push_back(std::move(view));
    }
    return drivers;
}

std::vector<Advisory> driverAdvisories(const decode::DecodedRom& decoded,
                                       const NodeDrivers& drivers, const DriverTable& table) {
    std::vector<Advisory> advisories;
    for (size_t i = 0; i < drivers.units.size() && i < decoded.units.size(); ++i) {
        const decode::UnitIds& unit = decoded.units[i];
        const UnitDrivers& view = drivers.units[i];
        // A refusal counts as a likely bug only where the ROM means the driver and no other
        // driver takes the unit: many units carry a version the general DICE entry also takes.
        for (const ProbeNote& probe : view.probes)
            if (probe.verdict == ProbeVerdict::Refuses)
                advisories.push_back({unit.directory, "driver-refuses", probe.text,
                                      probe.likelyBug && view.match.matches.size() == 1
                                          ? Severity::Advisory
                                          : Severity::Note});
        if (!view.bootloader.empty())
            advisories.push_back({unit.directory, "bootloader",
                                  "In a bootloader: " + view.bootloader, Severity::Note});
        const DriverId* known = driverOfVendor(table, unit.vendor);
        if (view.match.matches.empty() && unit.kernelUnit && isAvc(unit) && known)
            advisories.push_back(
                {unit.directory, "no-driver",
                 format("No driver takes this AV/C unit (%s), though %s knows vendor %06Xh",
                        decode::modalias(unit).c_str(), known->driver.c_str(), unit.vendor)});
    }
    return advisories;
}

} // namespace rombus
