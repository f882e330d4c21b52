#include "NodeDevices.h"

#include <cstdio>

namespace rombus {
namespace {

constexpr uint64_t RomBase = 0xFFFFF0000400ull;

} // namespace

NodeDevices::NodeDevices(const std::vector<vesk5::SysInfoDevice>& devices, unsigned port,
                         uint64_t guid) {
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "IEEE1394NODE:%u:0x%016llx:", port,
                  static_cast<unsigned long long>(guid));
    const std::string start = prefix;
    for (const auto& device : devices) {
        const std::string& locator = device.hwLocator().zulString().str();
        if (locator.rfind(start, 0) == 0)
            byLocator_.emplace(locator.substr(start.size()), &device);
    }
}

std::optional<std::string> NodeDevices::property(const char* word, uint32_t offset,
                                                 const char* name) const {
    char at[48];
    std::snprintf(at, sizeof at, "%s@%llx", word,
                  static_cast<unsigned long long>(RomBase + offset));
    const auto found = byLocator_.find(at);
    const auto* value = found == byLocator_.end() ? nullptr : found->second->findProperty(name);
    if (!value)
        return std::nullopt;
    return value->value.valueString().zulString().str();
}

} // namespace rombus
