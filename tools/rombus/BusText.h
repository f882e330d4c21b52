#pragma once

#include "inspect/model/BusView.h"

#include <string>

namespace rombus {

// The bus as text: a header line, the tree of PHYs from the root down in the manner of
// 'lsusb -t' (each PHY's port, physical id, device file, GUID, names, speed, the speed of the
// path from the local node, roles), then every PHY's self-ID fields and PHY ids, then the health
// findings, each wrapped at width.
std::string busText(const BusView& view, size_t width);

// A PHY's speed code as the report names it.
std::string speedWord(unsigned speed);

// What stands for a PHY without a device file: "link off", else "no device file" where the
// files were listed, else "link on".
std::string fileless(const BusView& view, const BusPhy& phy);

// The roles of a PHY: "root", "IRM", "bus manager", "local", joined by ", ".
std::string rolesOf(const BusView& view, unsigned index);

} // namespace rombus
