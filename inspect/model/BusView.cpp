#include "inspect/model/BusView.h"

#include "inspect/knowledge/RomNames.h"
#include "inspect/rom/RomDecoder.h"
#include "inspect/verdicts/BusHealth.h"
#include "libRombus/Lib1394Util.h"

#include <algorithm>
#include <deque>

namespace rombus {
namespace {

constexpr uint32_t UnknownNode = 0xFFFF;
constexpr unsigned NoPhysicalId = 63;
constexpr uint8_t VendorKey = 0x03;

// The gap count by the most hops between two PHYs, as IEEE 1394a tabulates it.
constexpr unsigned GapCounts[] = {63, 5, 7, 8, 10, 13, 16, 18, 21, 24, 26, 29, 32, 35, 37, 40};

std::string list(const std::vector<unsigned>& ids) {
    std::string text;
    for (unsigned id : ids)
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    return text;
}

std::vector<unsigned> portsIn(const PhySelfId& phy, PortState state) {
    std::vector<unsigned> ports;
    for (unsigned i = 0; i < phy.ports.size(); ++i)
        if (phy.ports[i] == state)
            ports.push_back(i);
    return ports;
}

// Hangs each PHY's children on its child ports: the child on the lowest port sent its self-ID
// first, so the PHYs still waiting for a parent are taken from the stack in order. Answers why
// the ports form no single tree, or nothing.
std::string buildTree(std::vector<BusPhy>& phys) {
    std::vector<unsigned> waiting;
    for (unsigned i = 0; i < phys.size(); ++i) {
        BusPhy& phy = phys[i];
        const std::string name = "PHY " + std::to_string(phy.self.phyId);
        const std::vector<unsigned> childPorts = portsIn(phy.self, PortState::Child);
        const std::vector<unsigned> parentPorts = portsIn(phy.self, PortState::Parent);
        if (childPorts.size() > waiting.size())
            return name + " has " + std::to_string(childPorts.size()) + " child ports, but only " +
                   std::to_string(waiting.size()) +
                   " PHYs before it wait for a parent: a child's self-ID is missing";
        const size_t first = waiting.size() - childPorts.size();
        for (size_t k = 0; k < childPorts.size(); ++k) {
            phy.children.emplace_back(childPorts[k], waiting[first + k]);
            phys[waiting[first + k]].parent = i;
        }
        waiting.resize(first);
        const bool last = i + 1 == phys.size();
        if (parentPorts.size() > 1)
            return name + " has " + std::to_string(parentPorts.size()) +
                   " parent ports; a PHY has at most one";
        if (parentPorts.empty() && !last)
            return name + " has no parent port, yet PHYs follow it: the bus would have two roots";
        if (!parentPorts.empty() && last)
            return name + ", the last to send its self-ID, has a parent port: no PHY is the root";
        if (!parentPorts.empty())
            phy.parentPort = parentPorts[0];
        waiting.push_back(i);
    }
    if (waiting.size() > 1) {
        std::vector<unsigned> ids;
        for (size_t k = 0; k + 1 < waiting.size(); ++k)
            ids.push_back(phys[waiting[k]].self.phyId);
        return "PHYs " + list(ids) +
               " wait for a parent that no child port takes: the ports form no single tree";
    }
    return "";
}

std::vector<std::vector<unsigned>> neighbours(const std::vector<BusPhy>& phys) {
    std::vector<std::vector<unsigned>> next(phys.size());
    for (unsigned i = 0; i < phys.size(); ++i)
        for (const auto& [port, child] : phys[i].children) {
            next[i].push_back(child);
            next[child].push_back(i);
        }
    return next;
}

// Cable hops from one PHY to every other, with the slowest PHY on each path.
void walkFrom(unsigned start, std::vector<BusPhy>& phys,
              const std::vector<std::vector<unsigned>>& next) {
    std::deque<unsigned> queue = {start};
    phys[start].hops = 0;
    phys[start].pathSpeed = phys[start].self.speed;
    while (!queue.empty()) {
        const unsigned at = queue.front();
        queue.pop_front();
        for (unsigned other : next[at]) {
            if (phys[other].hops)
                continue;
            phys[other].hops = *phys[at].hops + 1;
            phys[other].pathSpeed = std::min(*phys[at].pathSpeed, phys[other].self.speed);
            queue.push_back(other);
        }
    }
}

unsigned farthest(unsigned start, const std::vector<std::vector<unsigned>>& next,
                  unsigned& distance) {
    std::vector<int> hops(next.size(), -1);
    std::deque<unsigned> queue = {start};
    hops[start] = 0;
    unsigned last = start;
    while (!queue.empty()) {
        last = queue.front();
        queue.pop_front();
        for (unsigned other : next[last])
            if (hops[other] < 0) {
                hops[other] = hops[last] + 1;
                queue.push_back(other);
            }
    }
    distance = static_cast<unsigned>(hops[last]);
    return last;
}

unsigned diameter(const std::vector<BusPhy>& phys) {
    const auto next = neighbours(phys);
    unsigned distance = 0;
    farthest(farthest(0, next, distance), next, distance);
    return distance;
}

std::optional<unsigned> indexOf(const std::vector<BusPhy>& phys, uint32_t nodeId) {
    const unsigned phyId = nodeId & 0x3F;
    if (nodeId == UnknownNode || phyId == NoPhysicalId)
        return std::nullopt;
    for (unsigned i = 0; i < phys.size(); ++i)
        if (phys[i].self.phyId == phyId)
            return i;
    return std::nullopt;
}

std::optional<std::string> registryName(const std::string& registry, uint32_t id) {
    if (registry.empty())
        return std::nullopt;
    const std::string name = libRombus::Lib1394Util::getRIDString(registry, id).getUTF8String();
    return name.empty() ? std::nullopt : std::optional(name);
}

void name(BusPhy& phy, const std::string& registry) {
    if (phy.facts.identity.answered)
        phy.phyVendor = registryName(registry, phy.facts.identity.vendorId);
    if (phy.facts.rom.empty())
        return;
    const decode::DecodedRom decoded = decode::decodeRom(phy.facts.rom);
    const decode::RomNames names = decode::romNamesOf(decoded);
    phy.vendor = names.vendor;
    phy.model = names.model;
    const decode::RomEntry* vendor = decode::firstWithKey(decoded.root, VendorKey);
    if (!phy.vendor && vendor)
        phy.vendor = registryName(registry, vendor->value);
}

} // namespace

unsigned optimumGapCount(unsigned hops) {
    return hops < std::size(GapCounts) ? GapCounts[hops] : 63;
}

BusView buildBusView(const lib1394::BusCapture& capture, const std::string& registry) {
    BusView view;
    view.name = capture.name;
    view.capture = capture;
    view.quadlets = capture.topology;
    if (!capture.topology.empty())
        view.map = decodeTopologyMap(capture.topology);
    for (const PhySelfId& self : view.map.phys) {
        BusPhy phy;
        phy.self = self;
        if (const auto it = capture.phys.find(self.phyId); it != capture.phys.end())
            phy.facts = it->second;
        name(phy, registry);
        view.phys.push_back(std::move(phy));
    }
    if (!view.phys.empty())
        view.treeTrouble = buildTree(view.phys);
    view.local = indexOf(view.phys, capture.localNodeId);
    view.irm = indexOf(view.phys, capture.irmNodeId);
    view.busManager = indexOf(view.phys, capture.bmNodeId);
    view.root = indexOf(view.phys, capture.rootNodeId);
    if (view.treeOk()) {
        if (!view.root)
            view.root = static_cast<unsigned>(view.phys.size() - 1);
        view.maxHops = diameter(view.phys);
        if (view.local)
            walkFrom(*view.local, view.phys, neighbours(view.phys));
    }
    view.health = busHealth(view);
    return view;
}

} // namespace rombus
