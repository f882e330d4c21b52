#pragma once

#include "inspect/NodeView.h"

#include <vector>

namespace rombus {

// Adds to each node what shows only beside the kernel's view or the other nodes of its bus: a
// unit whose modalias in sysfs is not the one its ROM gives, a GUID of all zeros or all ones,
// a GUID another node of the same port also has, and for such a twin a GUID whose company id
// is not the vendor id of its ROM's root directory.
void addBusAdvisories(std::vector<NodeView>& nodes);

} // namespace rombus
