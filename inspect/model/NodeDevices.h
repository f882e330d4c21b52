#pragma once

#include "vesk5/SysInfoDevice.h"
#include "zul/Api.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace rombus {

// The devices the module published for the entries of one node's ROM, by the last part of their
// locators ("IMMEDIATE@fffff0000418"), to tell what it published for an entry at a ROM offset.
// They are the devices published between the previous port or node device and the node's own,
// so two nodes that share a GUID, and so their locators, never see each other's devices.
class ROMBUS_API NodeDevices {
public:
    NodeDevices() = default;
    // The devices first to last (not included) of the published ones.
    NodeDevices(const std::vector<vesk5::SysInfoDevice>& devices, size_t first, size_t last);

    // The text of a property of the device published at WORD@address of a ROM offset.
    std::optional<std::string> property(const char* word, uint32_t offset, const char* name) const;

private:
    std::map<std::string, const vesk5::SysInfoDevice*> byAddress_;
};

} // namespace rombus
