#include "DriverLines.h"

#include "inspect/io/Format.h"

namespace rombus {

std::string matchingDrivers(const UnitDrivers& unit) {
    std::string text;
    for (const DriverId& id : unit.match.matches)
        text += (text.empty() ? "" : ", ") + id.driver;
    return text;
}

std::vector<UnitLine> driverLines(const NodeView& node, size_t unit) {
    std::vector<UnitLine> lines;
    if (unit >= node.drivers.units.size())
        return lines;
    const UnitDrivers& drivers = node.drivers.units[unit];
    if (!drivers.match.matches.empty()) {
        std::string text;
        for (const DriverId& id : drivers.match.matches)
            text += (text.empty() ? "" : ", ") + id.driver + " (" + aliasOf(id) + ", " + id.kernel +
                    ")";
        lines.push_back({1, "Drivers that take it: " + text});
    } else {
        std::string nearest;
        for (const NearMiss& miss : drivers.match.nearest)
            nearest += (nearest.empty() ? "" : "; ") + miss.text();
        lines.push_back({1, "No driver's entry takes it" +
                                (nearest.empty() ? std::string() : "; nearest: " + nearest)});
    }
    for (const ProbeNote& probe : drivers.probes)
        lines.push_back({1, probe.text});
    if (!drivers.bootloader.empty())
        lines.push_back({1, "Bootloader: " + drivers.bootloader});
    return lines;
}

std::vector<std::string> quirkLines(const NodeView& node) {
    std::vector<std::string> lines;
    for (const DeviceQuirk& quirk : node.drivers.quirks)
        lines.push_back(std::string("Kernel quirk ") + quirk.name + ": " + quirk.text);
    return lines;
}

std::string assignmentText(const LongAssignment& assignment) {
    return format("%s %0*llX", assignment.bits == 28 ? "MA-M" : "MA-S",
                  static_cast<int>(assignment.bits / 4),
                  static_cast<unsigned long long>(assignment.prefix));
}

std::string guidAssignmentLine(const NodeView& node) {
    if (!node.guidAssignment)
        return std::string();
    return "GUID assigned to " + quoted(node.guidAssignment->name, false) + " (" +
           assignmentText(*node.guidAssignment) + ")";
}

std::string diceGuidLine(const NodeView& node) {
    if (!node.drivers.dice)
        return std::string();
    const DiceGuid& guid = *node.drivers.dice;
    return format("DICE GUID: company %06Xh, category %02Xh, product %03Xh, serial %u",
                  guid.company, guid.category, guid.product, guid.serial);
}

} // namespace rombus
