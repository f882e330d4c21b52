#pragma once

// The entry point for programs that want the verdicts the rombus tool gives: read a bus (the
// machine's sysfs tree or ROM image files), run the module over it with the tool's settings and
// get, per node, its status, its problem records, its decoded ROM and what the tool's views show
// of it: its units with their one name and driver, the ROM's own names (inspect/model/NodeView.h).
//
//   rombus::Inspection inspection = rombus::inspectFiles({"node.rom"}, rombus::toolSettings());
//   for (const rombus::NodeView& node : inspection.nodes)
//       std::printf("%s %s\n", node.locator.c_str(), rombus::statusName(node.status()));
//
// Link Rombus::Inspect (CMake: find_package(Rombus)) or pkg-config's rombus.

#include "inspect/model/Inspection.h"
#include "zul/Api.h"

#include <string>
#include <vector>

namespace rombus {

// The settings of `rombus` run without options: a CRC mismatch is a problem record (level 2), the
// vendor registry is the one installed with the libraries, and no log line reaches standard error.
ROMBUS_API Settings toolSettings();

// The vendor registry installed with the libraries: share/rombus/oui-registry.txt of their
// prefix, else the one the system makes from ieee-data (/var/lib/rombus/oui-registry.txt).
ROMBUS_API std::string installedRegistryPath();

// Reads ROM image files (raw, either byte order, or hexadecimal text) as the nodes of one port and
// inspects them. A file that cannot be read is left out and its sentence added to errors.
ROMBUS_API Inspection inspectFiles(const std::vector<std::string>& paths, const Settings& settings,
                                   std::vector<std::string>& errors);

// Inspects every node Linux shows under ROOT/bus/firewire/devices ("/sys" for the machine's own).
ROMBUS_API Inspection inspectSysfs(const std::string& root, const Settings& settings);

} // namespace rombus
