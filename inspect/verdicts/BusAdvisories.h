#pragma once

#include "inspect/model/NodeView.h"

#include <vector>

namespace rombus {

// Adds to each node what shows only beside the kernel's view or the other nodes of its bus: as
// advisories a GUID of all zeros or all ones and a GUID another node of the same port also has;
// as notes a unit whose modalias in sysfs is not the one its ROM gives, and for a node sharing
// its GUID a GUID whose company id is not the vendor id of its ROM's root directory.
void addBusAdvisories(std::vector<NodeView>& nodes);

} // namespace rombus
