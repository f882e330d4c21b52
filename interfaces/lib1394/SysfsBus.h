#pragma once

#include "zul/Api.h"

#include "lib1394/RomImageBus.h"

#include <string>
#include <vector>

namespace lib1394 {

// What a sysfs tree shows of the FireWire buses: the ports with their nodes, and notes on what
// could not be taken as it stood (entries skipped, nodes past a port's 63).
struct SysfsView {
    std::vector<RomPort> ports;
    std::vector<std::string> notes;
    size_t skipped = 0; // nodes noted and not read
};

// The FireWire buses as the Linux kernel shows them under a sysfs root (normally /sys): every
// node is a link <root>/bus/firewire/devices/fwN into <root>/devices/..., whose folder holds
// config_rom (the ROM, each quadlet in the host's byte order) and guid (text, "0x0001..."). Unit
// devices fwN.M are not nodes. A port is a controller: the nodes whose device folders share one
// parent folder. Ports are ordered by their lowest N, the nodes of a port by N, and a port holds
// at most 63 nodes (physical ids 0 to 62). The tree is read once, when the bus is made.
class ROMBUS_API SysfsBus : public RomImageBus {
public:
    // The most nodes one port holds: physical ids 0 to 62 (63 is the broadcast id).
    static constexpr size_t MaxNodes = 63;

    // order: how config_rom stores its quadlets; Detect means the host's byte order.
    explicit SysfsBus(const std::string& root = "/sys", ByteOrder order = ByteOrder::Detect);

    // The ports and nodes found under a root, ROMs converted to bus order.
    static SysfsView read(const std::string& root, ByteOrder order);
};

} // namespace lib1394
