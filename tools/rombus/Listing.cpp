#include "Listing.h"

#include "DriverLines.h"
#include "Text.h"
#include "UnitLines.h"
#include "inspect/model/Model.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

namespace rombus {
namespace {

constexpr uint8_t VendorKey = 0x03;
constexpr uint8_t ModelKey = 0x17;

std::optional<uint32_t> valueOf(const decode::RomEntry* entry) {
    return entry ? std::optional<uint32_t>(entry->value) : std::nullopt;
}

// The first name known: the ROM's own, the kernel's, the registry's for the id, the id itself.
std::string nameOf(const std::optional<std::string>& rom, const std::string& kernel,
                   const std::optional<std::string>& registry, std::optional<uint32_t> id,
                   const char* what) {
    if (rom && !shownText(*rom).empty())
        return quoted(shownText(*rom), true);
    if (!kernel.empty())
        return quoted(kernel, false);
    if (registry && !registry->empty())
        return quoted(*registry, false);
    return id ? format("%s %06Xh", what, *id) : std::string("-");
}

std::string unitsOf(const NodeView& node) {
    std::string text;
    for (const UnitView& unit : node.units)
        text += (text.empty() ? "" : ", ") + unit.name;
    return "[" + (text.empty() ? std::string("no units") : text) + "]";
}

// What each kind of trouble is called beside "problems".
const char* const troubleNames[] = {"unreadable", "entry rules", "CRC only", "permitted"};

// The speed of the node's link from its bus options, "-" when the ROM holds none.
std::string speedOf(const NodeView& node) {
    static const char* const speeds[] = {"S100", "S200", "S400", "S800", "S1600", "S3200"};
    const auto options = decode::busOptionsOf(node.rom());
    if (!options)
        return "-";
    return options->linkSpeed < std::size(speeds) ? speeds[options->linkSpeed]
                                                  : format("link_spd %u", options->linkSpeed);
}

std::string statusOf(const NodeView& node) {
    std::string text = statusName(node.status());
    const Trouble trouble = troubleOf(node);
    if (node.status() == NodeStatus::Problems && trouble < Trouble::Advisories)
        text += format(" (%s)", troubleNames[static_cast<int>(trouble)]);
    // Notes are no fault of the ROM: only advisories are counted, as --strict counts them.
    const size_t advisories = static_cast<size_t>(
        std::count_if(node.advisories.begin(), node.advisories.end(), [](const Advisory& advisory) {
            return advisory.severity == Severity::Advisory;
        }));
    const size_t permitted = static_cast<size_t>(
        std::count_if(node.verdicts.begin(), node.verdicts.end(), [](const RecordVerdict& verdict) {
            return verdict.recordClass == RecordClass::Permitted;
        }));
    if (permitted < node.verdicts.size())
        text += format(", %zu %s", node.verdicts.size() - permitted,
                       node.verdicts.size() - permitted == 1 ? "fault" : "faults");
    if (permitted)
        text += format(", %zu permitted", permitted);
    if (advisories)
        text += format(", %zu %s", advisories, advisories == 1 ? "advisory" : "advisories");
    if (node.source && node.source->local)
        text += ", local";
    return text;
}

// The vendor and model as ids, "vendor:model" in hexadecimal as -d takes them.
std::string idsOf(std::optional<uint32_t> vendor, std::optional<uint32_t> model) {
    return (vendor ? format("%06x", *vendor) : std::string("-")) + ":" +
           (model ? format("%06x", *model) : std::string("-"));
}

std::string lineOf(const NodeView& node, unsigned numeric) {
    static const lib1394::RomNode none;
    const lib1394::RomNode& bus = node.source ? *node.source : none;
    const decode::RomEntry* vendor = decode::firstWithKey(node.decoded.root, VendorKey);
    auto registry =
        vendor ? node.devices.property("IMMEDIATE", vendor->offset, "VendorName") : std::nullopt;
    // A company id the IEEE keeps for longer assignments names the holder of the GUID's.
    if (vendor && node.guidAssignment && vendor->value == node.guid() >> 40)
        registry = node.guidAssignment->name;
    std::string line = format("%u:%02u  ", node.port, node.physicalId);
    line += (bus.label.empty() ? std::string("-") : escaped(bus.label, false)) + "  ";
    line += format("%016llx  ", static_cast<unsigned long long>(node.guid()));
    const std::optional<uint32_t> model =
        valueOf(decode::firstWithKey(node.decoded.root, ModelKey));
    if (numeric != 1) {
        line +=
            nameOf(node.knowledge.vendorName, bus.vendorName, registry, valueOf(vendor), "vendor") +
            " ";
        line += nameOf(node.knowledge.modelName, bus.modelName, std::nullopt, model, "model");
    }
    if (numeric > 0)
        line += numeric == 1 ? idsOf(valueOf(vendor), model)
                             : " [" + idsOf(valueOf(vendor), model) + "]";
    return line + "  " + unitsOf(node) + "  " + speedOf(node) + "  " + statusOf(node) + "\n";
}

// "\tUnit 0: Kernel driver in use: snd_dice; Kernel modules: snd_dice" per unit the kernel
// makes a device of that has either.
std::string driverLinesOf(const NodeView& node) {
    std::string text;
    size_t kernelIndex = 0;
    for (size_t i = 0; i < node.decoded.units.size(); ++i) {
        if (!node.decoded.units[i].kernelUnit)
            continue;
        const size_t index = kernelIndex++;
        std::vector<std::string> parts;
        if (node.source && index < node.source->unitDrivers.size() &&
            !node.source->unitDrivers[index].empty())
            parts.push_back("Kernel driver in use: " +
                            escaped(node.source->unitDrivers[index], false));
        const std::string modules =
            i < node.drivers.units.size() ? matchingDrivers(node.drivers.units[i]) : "";
        if (!modules.empty())
            parts.push_back("Kernel modules: " + modules);
        if (!parts.empty())
            text += format("\tUnit %zu: ", i) + parts.front() +
                    (parts.size() > 1 ? "; " + parts.back() : std::string()) + "\n";
    }
    return text;
}

} // namespace

std::string listing(const Inspection& inspection, const std::string& emptyText, unsigned numeric,
                    bool kernelDrivers) {
    if (inspection.nodes.empty())
        return emptyText + "\n";
    std::string out;
    std::map<std::string, size_t> byStatus;
    std::set<unsigned> portsShown;
    for (const NodeView& node : inspection.nodes) {
        out += lineOf(node, numeric);
        if (kernelDrivers)
            out += driverLinesOf(node);
        ++byStatus[statusName(node.status())];
        portsShown.insert(node.port);
    }
    const size_t ports = portsShown.size();
    std::string summary;
    for (const auto& [status, count] : byStatus)
        summary += format("%s%zu %s", summary.empty() ? "" : ", ", count, status.c_str());
    const std::string verdicts = verdictSummary(inspection.nodes);
    return out +
           format("%zu %s on %zu %s: ", inspection.nodes.size(),
                  inspection.nodes.size() == 1 ? "node" : "nodes", ports,
                  ports == 1 ? "port" : "ports") +
           summary + "." + (verdicts.empty() ? "" : " " + verdicts) + "\n";
}

} // namespace rombus
