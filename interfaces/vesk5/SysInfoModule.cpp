#include "vesk5/SysInfoModule.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace vesk5 {
namespace {

struct Framework {
    std::vector<std::unique_ptr<Parameter>> ownedParameters;
    std::vector<Parameter*> parameters;
    std::vector<std::unique_ptr<DeviceProperty>> ownedProperties;
    std::vector<DeviceProperty*> properties;
    std::vector<SysInfoDevice> published;
    std::vector<SysInfoDevice*> created;
    const DeviceCapability* refused = nullptr;

    ~Framework() {
        published.clear();
        while (!created.empty())
            delete created.back();
    }
};

Framework& framework() {
    static Framework instance;
    return instance;
}

} // namespace

SysInfoDevice::SysInfoDevice(const DeviceCapability& deviceClass, const DeviceCapability& subClass,
                             const VeskString& name, const VeskString& hwLocator,
                             const VeskString& description, const VeskString& uniqueId)
    : deviceClass_(deviceClass), subClass_(subClass), name_(name), hwLocator_(hwLocator),
      description_(description), uniqueId_(uniqueId) {}

SysInfoDevice* SysInfoDevice::createGeneric(const DeviceCapability& deviceClass,
                                            const DeviceCapability& subClass,
                                            const VeskString& name, const VeskString& hwLocator,
                                            const VeskString& description,
                                            const VeskString& uniqueId) {
    if (framework().refused && *framework().refused == deviceClass)
        return nullptr;
    auto* device = new SysInfoDevice(deviceClass, subClass, name, hwLocator, description, uniqueId);
    device->created_ = true;
    SysInfoModule::created(device);
    return device;
}

SysInfoDevice::~SysInfoDevice() {
    if (created_)
        SysInfoModule::destroyed(this);
}

void SysInfoDevice::addProperty(const DeviceProperty* property) {
    if (property)
        properties_.push_back({property->name(), property->type().id(), property->value()});
}

void SysInfoDevice::addChildBusId(const VeskString& busId, unsigned, unsigned, unsigned, unsigned,
                                  unsigned) {
    childBusIds_.push_back(busId);
}

const SysInfoDevice::Property* SysInfoDevice::findProperty(const VeskString& name) const {
    for (const auto& property : properties_)
        if (property.name == name)
            return &property;
    return nullptr;
}

size_t SysInfoDevice::liveCount() {
    return framework().created.size();
}

Parameter* SysInfoModule::createParameter(const VeskString& name, const DataType& type,
                                          const VeskString&, bool, bool) {
    auto& state = framework();
    state.ownedParameters.push_back(std::make_unique<Parameter>(name, type));
    state.parameters.push_back(state.ownedParameters.back().get());
    return state.parameters.back();
}

DeviceProperty* SysInfoModule::createDeviceProperty(const VeskString& name,
                                                    const PropertyCategory& category,
                                                    const DataType& type,
                                                    const DeviceCapability& capability) {
    auto& state = framework();
    state.ownedProperties.push_back(
        std::make_unique<DeviceProperty>(name, category, type, capability));
    state.properties.push_back(state.ownedProperties.back().get());
    return state.properties.back();
}

void SysInfoModule::addDevice(SysInfoDevice* device) {
    if (!device)
        return;
    framework().published.push_back(*device);
    framework().published.back().created_ = false;
}

Parameter* SysInfoModule::findParameter(const VeskString& name) {
    for (Parameter* parameter : framework().parameters)
        if (parameter->name() == name)
            return parameter;
    return nullptr;
}

const std::vector<Parameter*>& SysInfoModule::parameters() {
    return framework().parameters;
}

const std::vector<DeviceProperty*>& SysInfoModule::deviceProperties() {
    return framework().properties;
}

const std::vector<SysInfoDevice>& SysInfoModule::publishedDevices() {
    return framework().published;
}

void SysInfoModule::refuseDevicesOf(const DeviceCapability* deviceClass) {
    framework().refused = deviceClass;
}

const DeviceCapability* SysInfoModule::refusedClass() {
    return framework().refused;
}

void SysInfoModule::reset() {
    auto& state = framework();
    state.refused = nullptr;
    state.published.clear();
    while (!state.created.empty())
        delete state.created.back();
}

void SysInfoModule::created(SysInfoDevice* device) {
    framework().created.push_back(device);
}

// Devices are mostly destroyed in the reverse order of their making (reset destroys the last one
// first, an entry's device goes before its parent's), so the search starts from the newest: a
// reset of n devices then costs n steps, not n * n / 2.
void SysInfoModule::destroyed(SysInfoDevice* device) {
    auto& created = framework().created;
    auto found = std::find(created.rbegin(), created.rend(), device);
    if (found != created.rend())
        created.erase(std::next(found).base());
}

} // namespace vesk5
