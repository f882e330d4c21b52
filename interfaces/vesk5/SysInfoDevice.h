#pragma once

#include "zul/Api.h"

#include "vesk5/Parameter.h"

#include <vector>

namespace vesk5 {

// A system-information device. Devices made by createGeneric belong to the framework: whatever
// the creator does not destroy itself is destroyed by SysInfoModule::reset or at process end.
class ROMBUS_API SysInfoDevice {
public:
    static constexpr unsigned NullIndex = 0xFFFFFFFFu;

    // A property as the device keeps it: the value it had when it was added.
    struct Property {
        VeskString name;
        DataType::Id type;
        Value value;
    };

    // A new device, or null when the framework refuses devices of its class.
    static SysInfoDevice* createGeneric(const DeviceCapability& deviceClass,
                                        const DeviceCapability& subClass, const VeskString& name,
                                        const VeskString& hwLocator, const VeskString& description,
                                        const VeskString& uniqueId);

    SysInfoDevice(const SysInfoDevice& other) = default;
    SysInfoDevice& operator=(const SysInfoDevice&) = delete;
    ~SysInfoDevice();

    void addProperty(const DeviceProperty* property);
    void addChildBusId(const VeskString& busId, unsigned, unsigned, unsigned, unsigned, unsigned);

    const VeskString& name() const { return name_; }
    const VeskString& hwLocator() const { return hwLocator_; }
    const VeskString& description() const { return description_; }
    const VeskString& uniqueId() const { return uniqueId_; }
    const DeviceCapability& deviceClass() const { return deviceClass_; }
    const std::vector<Property>& properties() const { return properties_; }
    const std::vector<VeskString>& childBusIds() const { return childBusIds_; }
    const Property* findProperty(const VeskString& name) const;

    // Number of devices made by createGeneric that are still alive.
    static size_t liveCount();

private:
    friend class SysInfoModule;
    SysInfoDevice(const DeviceCapability& deviceClass, const DeviceCapability& subClass,
                  const VeskString& name, const VeskString& hwLocator,
                  const VeskString& description, const VeskString& uniqueId);

    const DeviceCapability& deviceClass_;
    const DeviceCapability& subClass_;
    VeskString name_;
    VeskString hwLocator_;
    VeskString description_;
    VeskString uniqueId_;
    std::vector<Property> properties_;
    std::vector<VeskString> childBusIds_;
    bool created_ = false;
};

} // namespace vesk5
