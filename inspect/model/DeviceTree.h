#pragma once

#include "vesk5/SysInfoDevice.h"

#include <string>
#include <vector>

namespace rombus {

constexpr size_t NoParent = static_cast<size_t>(-1);

// The published devices arranged as a tree: a device with __parentLocator hangs under the device
// of that locator; a port or node device under the device whose child bus id its locator extends
// (IEEE1394NODE:0 holds IEEE1394NODE:0:...). Children keep their order of publication.
struct DeviceTree {
    std::vector<size_t> parent; // index of the parent device, or NoParent
    std::vector<std::vector<size_t>> children;
    std::vector<size_t> roots;
};

DeviceTree buildDeviceTree(const std::vector<vesk5::SysInfoDevice>& devices);

// The text of a device's __parentLocator, empty when it has none.
std::string parentLocatorOf(const vesk5::SysInfoDevice& device);

// Whether the device is a port or node device (it has no __parentLocator and is not an entry).
bool isPortDevice(const vesk5::SysInfoDevice& device);
bool isNodeDevice(const vesk5::SysInfoDevice& device);

} // namespace rombus
