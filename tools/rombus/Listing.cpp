#include "Listing.h"

#include "Text.h"
#include "UnitLines.h"
#include "inspect/io/Format.h"
#include "inspect/knowledge/RomNames.h"
#include "inspect/knowledge/UnitTypes.h"
#include "inspect/rom/RomWalk.h"
#include "inspect/verdicts/Triage.h"

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
    if (rom && !rom->empty())
        return quoted(*rom, true);
    if (!kernel.empty())
        return quoted(kernel, false);
    if (registry && !registry->empty())
        return quoted(*registry, false);
    return id ? format("%s %06Xh", what, *id) : std::string("-");
}

std::string unitsOf(const NodeView& node) {
    std::string text;
    for (const decode::UnitIds& unit : node.decoded.units)
        text += (text.empty() ? "" : ", ") + decode::unitName(unit, node.devices);
    return "[" + (text.empty() ? std::string("no units") : text) + "]";
}

// What each kind of trouble is called beside "problems".
const char* const troubleNames[] = {"unreadable", "entry rules", "CRC only"};

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
    const decode::RomNames names = decode::romNamesOf(node.decoded);
    const decode::RomEntry* vendor = decode::firstWithKey(node.decoded.root, VendorKey);
    const auto registry =
        vendor ? node.devices.property("IMMEDIATE", vendor->offset, "VendorName") : std::nullopt;
    std::string line = format("%u:%02u  ", node.port, node.physicalId);
    line += (bus.label.empty() ? std::string("-") : escaped(bus.label, false)) + "  ";
    line += format("%016llx  ", static_cast<unsigned long long>(node.guid()));
    const std::optional<uint32_t> model =
        valueOf(decode::firstWithKey(node.decoded.root, ModelKey));
    if (numeric != 1) {
        line += nameOf(names.vendor, bus.vendorName, registry, valueOf(vendor), "vendor") + " ";
        line += nameOf(names.model, bus.modelName, std::nullopt, model, "model");
    }
    if (numeric > 0)
        line += numeric == 1 ? idsOf(valueOf(vendor), model)
                             : " [" + idsOf(valueOf(vendor), model) + "]";
    return line + "  " + unitsOf(node) + "  " + speedOf(node) + "  " + statusOf(node) + "\n";
}

} // namespace

std::string listing(const Inspection& inspection, const std::string& emptyText, unsigned numeric) {
    if (inspection.nodes.empty())
        return emptyText + "\n";
    std::string out;
    std::map<std::string, size_t> byStatus;
    std::set<unsigned> portsShown;
    for (const NodeView& node : inspection.nodes) {
        out += lineOf(node, numeric);
        ++byStatus[statusName(node.status())];
        portsShown.insert(node.port);
    }
    const size_t ports = portsShown.size();
    std::string summary;
    for (const auto& [status, count] : byStatus)
        summary += format("%s%zu %s", summary.empty() ? "" : ", ", count, status.c_str());
    return out +
           format("%zu %s on %zu %s: ", inspection.nodes.size(),
                  inspection.nodes.size() == 1 ? "node" : "nodes", ports,
                  ports == 1 ? "port" : "ports") +
           summary + ".\n";
}

} // namespace rombus
