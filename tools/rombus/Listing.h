#pragma once

#include "inspect/model/Inspection.h"

#include <string>

namespace rombus {

// One line per node, as lspci and lsusb list devices: port and node ("0:01"), where it came
// from (fwN or the image file), GUID, vendor and model, the names of its units in brackets,
// its speed and its status with the kind of trouble; then one line of totals. emptyText is
// printed when there is no node. numeric 1 shows the vendor and model ids instead of names,
// 2 both, as lspci -n and -nn. With kernelDrivers, as lspci -k, each unit's kernel driver in use
// and the drivers whose entries take it follow its node's line.
std::string listing(const Inspection& inspection, const std::string& emptyText,
                    unsigned numeric = 0, bool kernelDrivers = false);

} // namespace rombus
