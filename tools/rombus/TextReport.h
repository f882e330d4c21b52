#pragma once

#include "Terminal.h"
#include "inspect/model/Inspection.h"

#include <string>

namespace rombus {

// The device tree as a person reads it, at most layout.width columns wide: ports, nodes and the
// directories, leaves and immediate entries below them, each with its properties, then per node
// what the kernel says of it and its units, and its problem records; a summary at the end.
// emptyText is printed when there is no port.
std::string textReport(const Inspection& inspection, const std::string& emptyText,
                       const Layout& layout = {});

} // namespace rombus
