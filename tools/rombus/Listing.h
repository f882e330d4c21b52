#pragma once

#include "inspect/model/Inspection.h"

#include <string>

namespace rombus {

// One line per node, as lspci and lsusb list devices: port and node ("0:01"), where it came
// from (fwN or the image file), GUID, vendor and model, the names of its units in brackets and
// its status; then one line of totals. emptyText is printed when there is no node.
std::string listing(const Inspection& inspection, const std::string& emptyText);

} // namespace rombus
