#include "inspect/verdicts/BusAdvisories.h"

#include "inspect/io/Format.h"

namespace rombus {
namespace {

constexpr uint32_t GuidOffset = 12;
constexpr uint32_t GuidEnd = 20;
constexpr uint8_t VendorKey = 0x03;

std::string guidText(uint64_t guid) {
    return format("%016llx", static_cast<unsigned long long>(guid));
}

std::string nameOf(const NodeView& node) {
    const std::string where = format("node %u of port %u", node.physicalId, node.port);
    return node.source && !node.source->label.empty() ? where + " (" + node.source->label + ")"
                                                      : where;
}

void addModaliasAdvisories(NodeView& node) {
    size_t kernelIndex = 0;
    for (const decode::UnitIds& unit : node.decoded.units) {
        if (!unit.kernelUnit)
            continue;
        const size_t index = kernelIndex++;
        if (index >= node.source->unitModaliases.size())
            continue;
        const std::string& kernel = node.source->unitModaliases[index];
        const std::string rom = decode::modalias(unit);
        if (!kernel.empty() && kernel != rom)
            node.advisories.push_back({unit.directory, "kernel-modalias-mismatch",
                                       format("the kernel's modalias of unit %zu is ", index) +
                                           kernel + ", not " + rom + " as the ROM gives it"});
    }
}

void addGuidAdvisories(NodeView& node, const std::vector<NodeView>& nodes) {
    const uint64_t guid = lib1394::guidOfRom(node.rom());
    if (guid == 0 || guid == ~uint64_t{0})
        node.advisories.push_back({GuidOffset, "guid-unset",
                                   "the GUID " + guidText(guid) +
                                       " is all zeros or all ones: a board whose GUID was "
                                       "never programmed"});
    for (const NodeView& other : nodes) {
        if (&other == &node || other.port != node.port || other.rom().size() < GuidEnd ||
            lib1394::guidOfRom(other.rom()) != guid)
            continue;
        node.advisories.push_back({GuidOffset, "shared-guid",
                                   "the GUID " + guidText(guid) + " is also that of " +
                                       nameOf(other) + "; a GUID is unique to one node"});
        const decode::RomEntry* vendor = decode::firstWithKey(node.decoded.root, VendorKey);
        const uint32_t company = static_cast<uint32_t>(guid >> 40);
        if (vendor && vendor->value != company)
            node.advisories.push_back(
                {GuidOffset, "guid-company-mismatch",
                 format("the GUID's company id %06Xh is not the vendor id %06Xh of the root "
                        "directory: of the nodes sharing it, this one may carry another's GUID",
                        company, vendor->value),
                 Severity::Note});
        return;
    }
}

} // namespace

void addBusAdvisories(std::vector<NodeView>& nodes) {
    for (NodeView& node : nodes) {
        if (!node.source || node.rom().size() < GuidEnd)
            continue;
        addModaliasAdvisories(node);
        addGuidAdvisories(node, nodes);
    }
}

} // namespace rombus
