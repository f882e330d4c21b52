#include "JsonDrivers.h"

#include "DriverLines.h"

namespace rombus {
namespace {

using json = nlohmann::ordered_json;

const char* verdictName(ProbeVerdict verdict) {
    static const char* const names[] = {"refuses", "bootloader", "passes"};
    return names[static_cast<int>(verdict)];
}

json entryJson(const DriverId& id) {
    return {{"driver", id.driver}, {"alias", aliasOf(id)}, {"kernel", id.kernel}};
}

} // namespace

json unitDriversJson(const UnitDrivers& unit) {
    json matches = json::array();
    for (const DriverId& id : unit.match.matches)
        matches.push_back(entryJson(id));
    json nearest = json::array();
    for (const NearMiss& miss : unit.match.nearest)
        nearest.push_back({{"entry", entryJson(miss.id)},
                           {"field", miss.field},
                           {"unitValue", miss.unitValue},
                           {"tableValue", miss.tableValue},
                           {"text", miss.text()}});
    json probes = json::array();
    for (const ProbeNote& probe : unit.probes)
        probes.push_back({{"driver", probe.driver},
                          {"verdict", verdictName(probe.verdict)},
                          {"text", probe.text}});
    return {{"matches", std::move(matches)},
            {"nearest", std::move(nearest)},
            {"probes", std::move(probes)},
            {"bootloader", unit.bootloader.empty() ? json(nullptr) : json(unit.bootloader)}};
}

json guidAssignmentJson(const LongAssignment& assignment) {
    const std::string text = assignmentText(assignment);
    return {
        {"registry", text.substr(0, 4)}, {"assignment", text.substr(5)}, {"name", assignment.name}};
}

json nodeDriversJson(const NodeDrivers& node) {
    json quirks = json::array();
    for (const DeviceQuirk& quirk : node.quirks)
        quirks.push_back({{"name", quirk.name}, {"text", quirk.text}});
    json dice = nullptr;
    if (node.dice)
        dice = {{"company", node.dice->company},
                {"category", node.dice->category},
                {"product", node.dice->product},
                {"serial", node.dice->serial}};
    return {{"table", node.table}, {"quirks", std::move(quirks)}, {"diceGuid", std::move(dice)}};
}

} // namespace rombus
