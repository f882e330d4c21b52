#pragma once

#include "zul/Api.h"

#include "vesk5/DiagModule.h"
#include "vesk5/SysInfoModule.h"
#include "zul/String.h"

#include <cstdint>

namespace libRombus {

// A kind of problem: the framework event raised for it and the template of its message.
struct Problem {
    vesk5::Event* event = nullptr;
    vesk5::LocalizedStringSpec* message = nullptr;
};

// Everything the module declares to the framework. Made once, when the module is loaded, in the
// order of the fields; never released.
struct Declarations {
    Declarations();

    vesk5::Parameter* IEEEVendorRegistryFile;
    vesk5::Parameter* CRCMismatchLogLevel;

    vesk5::DeviceProperty* parentLocator;
    vesk5::DeviceProperty* ConfigROMAccessible;
    vesk5::DeviceProperty* IsoResManCap;
    vesk5::DeviceProperty* CycleMasterCap;
    vesk5::DeviceProperty* IsoCap;
    vesk5::DeviceProperty* BusManCap;
    vesk5::DeviceProperty* PowerManCap;
    vesk5::DeviceProperty* CycleClockAcc;
    vesk5::DeviceProperty* MaxDataRecSize;
    vesk5::DeviceProperty* TextString;
    vesk5::DeviceProperty* ImmediateValue;
    vesk5::DeviceProperty* VendorName;

    Problem DirectoryEntryNotPermitted;
    Problem RequiredDirectoryEntryNotFound;
    Problem ReadFailed;
    Problem CRCCheckFailed;
    Problem SignatureCheckFailed;
};

extern const Declarations declared;

// Registers the module with the framework, once however often it is called.
ROMBUS_API void init();
// Nothing to do on this platform.
ROMBUS_API void os_init();

// Sets a declared property's value and adds it to the device, when both exist.
void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device, bool value);
void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device, uint32_t value);
void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device,
                     const zul::String& value);

// The current path of the vendor registry file.
zul::String registryFilePath();

} // namespace libRombus
