#pragma once

#include "zul/Api.h"

#include "vesk5/SysInfoDevice.h"

#include <vector>

namespace vesk5 {

// The system-information side of the framework: declarations, and the devices published to it.
class ROMBUS_API SysInfoModule {
public:
    static Parameter* createParameter(const VeskString& name, const DataType& type,
                                      const VeskString& text, bool, bool);
    static DeviceProperty* createDeviceProperty(const VeskString& name,
                                                const PropertyCategory& category,
                                                const DataType& type,
                                                const DeviceCapability& capability);
    // Publishes a device. The framework keeps its own copy; the caller may destroy its object.
    static void addDevice(SysInfoDevice* device);

    static Parameter* findParameter(const VeskString& name);
    static const std::vector<Parameter*>& parameters();
    static const std::vector<DeviceProperty*>& deviceProperties();
    static const std::vector<SysInfoDevice>& publishedDevices();

    // Refuses to create devices of a class from now on: createGeneric answers null for them.
    // Null admits every class again, as reset does.
    static void refuseDevicesOf(const DeviceCapability* deviceClass);
    static const DeviceCapability* refusedClass();

    // Forgets the published devices, destroys the created devices nobody destroyed and admits
    // every class of device.
    static void reset();

private:
    friend class SysInfoDevice;
    static void created(SysInfoDevice* device);
    static void destroyed(SysInfoDevice* device);
};

} // namespace vesk5
