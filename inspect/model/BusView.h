#pragma once

#include "inspect/model/SelfIds.h"
#include "lib1394/BusCapture.h"
#include "zul/Api.h"

#include <optional>
#include <string>
#include <vector>

namespace rombus {

// One finding of the bus's health check: what is wrong, and what it does to the bus.
struct BusFinding {
    std::string level; // "error", "warning" or "notice"
    std::string check; // a short token: "gap-count-mismatch", "no-device-file"...
    std::string text;
};

// One PHY of the bus: its self-ID packets, what else is known of it, and its place in the tree.
struct BusPhy {
    PhySelfId self;
    lib1394::PhyFacts facts;
    std::optional<std::string> vendor, model; // the node's names, from its ROM or the registry
    std::optional<std::string> phyVendor;     // the PHY maker, from the registry
    std::optional<unsigned> parent;           // index in BusView::phys; none for the root
    std::optional<unsigned> parentPort;       // the port of this PHY that leads to its parent
    // The children, each with the port of this PHY it hangs on, in port order.
    std::vector<std::pair<unsigned, unsigned>> children;
    // The slowest PHY between the local node and this one, both included; none when the tree or
    // the local node is unknown.
    std::optional<unsigned> pathSpeed;
    std::optional<unsigned> hops; // cable hops from the local node
};

// A bus as the local node of one card sees it: the topology map decoded, the PHYs' tree rebuilt
// from their port states (every PHY's children send their self-IDs before it, the root last),
// the roles the kernel gave, and the health checks.
struct BusView {
    std::string name;
    std::vector<uint32_t> quadlets; // the topology map as read
    TopologyDecode map;
    lib1394::BusCapture capture;
    std::vector<BusPhy> phys;
    // Why the port states form no tree; empty when they do.
    std::string treeTrouble;
    std::optional<unsigned> root, local, irm, busManager; // indices in phys
    unsigned maxHops = 0;                                 // the most cable hops between two PHYs
    std::vector<BusFinding> health;

    bool treeOk() const { return map.refused.empty() && treeTrouble.empty() && !phys.empty(); }
};

// The view of a captured bus; vendor names come from the registry file (none when empty).
ROMBUS_API BusView buildBusView(const lib1394::BusCapture& capture, const std::string& registry);

// The gap count the IEEE 1394a table gives for the most hops between two PHYs (63 past 15).
ROMBUS_API unsigned optimumGapCount(unsigned hops);

} // namespace rombus
