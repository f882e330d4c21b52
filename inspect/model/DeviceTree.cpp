#include "inspect/model/DeviceTree.h"

namespace rombus {
namespace {

constexpr const char* ParentLocator = "__parentLocator";

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// The device of the parent locator. Two entries may point at one block, so a locator can stand
// for several devices: the nearest entry published before the device within the same node wins
// (the walk stops at port and node devices, which are published after their entries); for a
// root directory the search goes on forward, to the first device of that locator: its node.
size_t findByLocator(const std::vector<vesk5::SysInfoDevice>& devices, size_t index,
                     const std::string& locator) {
    for (size_t i = index; i-- > 0;) {
        if (parentLocatorOf(devices[i]).empty())
            break;
        if (devices[i].hwLocator().zulString().str() == locator)
            return i;
    }
    for (size_t i = index + 1; i < devices.size(); ++i)
        if (devices[i].hwLocator().zulString().str() == locator)
            return i;
    return NoParent;
}

// The nearest earlier device one of whose child bus ids the locator extends with ":".
size_t findByBusId(const std::vector<vesk5::SysInfoDevice>& devices, size_t index) {
    const std::string& locator = devices[index].hwLocator().zulString().str();
    for (size_t i = index; i-- > 0;)
        for (const vesk5::VeskString& busId : devices[i].childBusIds())
            if (startsWith(locator, busId.zulString().str() + ":"))
                return i;
    return NoParent;
}

// Cuts any loop, so that every device is reached from a root exactly once.
void breakCycles(std::vector<size_t>& parent) {
    for (size_t i = 0; i < parent.size(); ++i) {
        size_t at = parent[i];
        for (size_t steps = 0; at != NoParent && steps <= parent.size(); ++steps) {
            if (at == i) {
                parent[i] = NoParent;
                break;
            }
            at = parent[at];
        }
    }
}

} // namespace

std::string parentLocatorOf(const vesk5::SysInfoDevice& device) {
    const auto* property = device.findProperty(ParentLocator);
    return property ? property->value.valueString().zulString().str() : std::string();
}

bool isPortDevice(const vesk5::SysInfoDevice& device) {
    return startsWith(device.hwLocator().zulString().str(), "IEEE1394PORT:");
}

bool isNodeDevice(const vesk5::SysInfoDevice& device) {
    return startsWith(device.hwLocator().zulString().str(), "IEEE1394NODE:") &&
           !device.findProperty(ParentLocator);
}

DeviceTree buildDeviceTree(const std::vector<vesk5::SysInfoDevice>& devices) {
    DeviceTree tree;
    tree.parent.assign(devices.size(), NoParent);
    tree.children.resize(devices.size());
    for (size_t i = 0; i < devices.size(); ++i) {
        const std::string locator = parentLocatorOf(devices[i]);
        tree.parent[i] =
            locator.empty() ? findByBusId(devices, i) : findByLocator(devices, i, locator);
    }
    breakCycles(tree.parent);
    for (size_t i = 0; i < devices.size(); ++i) {
        if (tree.parent[i] == NoParent)
            tree.roots.push_back(i);
        else
            tree.children[tree.parent[i]].push_back(i);
    }
    return tree;
}

} // namespace rombus
