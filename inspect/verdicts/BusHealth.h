#pragma once

#include "inspect/model/BusView.h"

#include <vector>

namespace rombus {

// The health checks of a bus, each finding with what it does to the bus: the topology map's CRC
// and layout, the tree, the node count, gap counts that differ or miss the optimum for the bus's
// hops, a root that cannot be cycle master, no contender for resource manager, and nodes the
// kernel made no device file for.
std::vector<BusFinding> busHealth(const BusView& view);

} // namespace rombus
