#include "inspect/model/NodeDevices.h"

#include "inspect/rom/Locator.h"

namespace rombus {

NodeDevices::NodeDevices(const std::vector<vesk5::SysInfoDevice>& devices, size_t first,
                         size_t last) {
    for (size_t i = first; i < last && i < devices.size(); ++i) {
        const std::string& locator = devices[i].hwLocator().zulString().str();
        const size_t colon = locator.rfind(':');
        if (entryAddressOf(locator))
            byAddress_.emplace(locator.substr(colon + 1), &devices[i]);
    }
}

std::optional<std::string> NodeDevices::property(const char* word, uint32_t offset,
                                                 const char* name) const {
    const auto found = byAddress_.find(entryLocatorTail(word, offset));
    const auto* value = found == byAddress_.end() ? nullptr : found->second->findProperty(name);
    if (!value)
        return std::nullopt;
    return value->value.valueString().zulString().str();
}

} // namespace rombus
