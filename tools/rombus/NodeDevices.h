#pragma once

#include "vesk5/SysInfoDevice.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// The module's published devices of one node by their locators, to tell what it published for
// an entry of the node's ROM: the entry devices' locators are "IEEE1394NODE:<port>:0x<GUID>:"
// followed by "IMMEDIATE", "LEAF" or "DIRECTORY", '@' and a CSR address.
class NodeDevices {
public:
    NodeDevices(const std::vector<vesk5::SysInfoDevice>& devices, unsigned port, uint64_t guid);

    // The text of a property of the device published at WORD@address of a ROM offset.
    std::optional<std::string> property(const char* word, uint32_t offset, const char* name) const;

private:
    std::map<std::string, const vesk5::SysInfoDevice*> byLocator_;
};

} // namespace rombus
