#pragma once

#include "zul/Api.h"

#include "lib1394/LiveNode.h"

#include <string>

namespace lib1394 {

// Reads a node's Configuration ROM from the device into node.rom (bus order), as the kernel
// reads it, quadlet by quadlet, up to 256 quadlets: the bus information block, the quadlets its
// crc_length covers, and every block the directories reach; quadlets no block reaches read as 0.
// A first quadlet of 0 (a node still booting) is read again, pauses apart; the whole ROM is read
// anew after a bus reset, and when its first quadlets differ once it has been read. What could
// not be read goes to node.notes, which name the device file by path; a node whose bus
// information block could not be read, or that left the bus, is not accessible.
ROMBUS_API void readDeviceRom(LiveNode& live, const std::string& path, RomNode& node);

} // namespace lib1394
