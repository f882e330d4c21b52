#include "libRombus/Declarations.h"

#include <iterator>

namespace libRombus {
namespace {

using vesk5::DataType;
using vesk5::PropertyCategory;

vesk5::Parameter* declareParameter(const char* name, const DataType& type) {
    return vesk5::SysInfoModule::createParameter(name, type, vesk5::VeskString(), true, true);
}

vesk5::DeviceProperty* declareProperty(const char* name, const PropertyCategory& first,
                                       const PropertyCategory& second, const DataType& type) {
    return vesk5::SysInfoModule::createDeviceProperty(name, first | second, type,
                                                      vesk5::DeviceCapability::IEEE1394());
}

vesk5::DeviceProperty* declareSysInfo(const char* name, const DataType& type) {
    return declareProperty(name, PropertyCategory::Tier3(), PropertyCategory::SysInfo(), type);
}

bool registered = false;

} // namespace

// Runs when the module is loaded: parameters, properties, events, then message templates.
Declarations::Declarations()
    : IEEEVendorRegistryFile(declareParameter("IEEEVendorRegistryFile", DataType::STRING())),
      CRCMismatchLogLevel(declareParameter("CRCMismatchLogLevel", DataType::UINT32())),
      parentLocator(declareProperty("__parentLocator", PropertyCategory::Internal(),
                                    PropertyCategory::ParentKey(), DataType::STRING())),
      ConfigROMAccessible(declareProperty("ConfigROMAccessible", PropertyCategory::Internal(),
                                          PropertyCategory::RequiredForTests(),
                                          DataType::BOOLEAN())),
      IsoResManCap(declareSysInfo("IsoResManCap", DataType::BOOLEAN())),
      CycleMasterCap(declareSysInfo("CycleMasterCap", DataType::BOOLEAN())),
      IsoCap(declareSysInfo("IsoCap", DataType::BOOLEAN())),
      BusManCap(declareSysInfo("BusManCap", DataType::BOOLEAN())),
      PowerManCap(declareSysInfo("PowerManCap", DataType::BOOLEAN())),
      CycleClockAcc(declareSysInfo("CycleClockAcc", DataType::UINT32())),
      MaxDataRecSize(declareSysInfo("MaxDataRecSize", DataType::UINT32())),
      TextString(declareSysInfo("TextString", DataType::STRING())),
      ImmediateValue(declareSysInfo("ImmediateValue", DataType::UINT32())),
      VendorName(declareSysInfo("VendorName", DataType::STRING())) {
    Problem* problems[] = {&DirectoryEntryNotPermitted, &RequiredDirectoryEntryNotFound,
                           &ReadFailed, &CRCCheckFailed, &SignatureCheckFailed};
    static const char* const names[] = {"DirectoryEntryNotPermitted",
                                        "RequiredDirectoryEntryNotFound", "ReadFailed",
                                        "CRCCheckFailed", "SignatureCheckFailed"};
    static const char* const templates[] = {
        "A CSR directory entry of type \"{entry_type}\" is not permitted in CSR directory "
        "\"{dir_name}\"",
        "A required CSR directory entry of type \"{entry_type}\" was not found in CSR directory "
        "\"{dir_name}\"",
        "Configuration ROM read failed: read of {length} bytes at offset {offset}",
        "{crc_type} CRC check failed: expected {crc_expected}, found {crc_calculated} at offset "
        "{offset}",
        "{sig_type} signature mismatch: expected {sig_expected}, found {sig_found} at offset "
        "{sig_offset}",
    };
    for (size_t i = 0; i < std::size(problems); ++i)
        problems[i]->event = vesk5::DiagModule::createEvent(names[i]);
    for (size_t i = 0; i < std::size(problems); ++i)
        problems[i]->message = new vesk5::LocalizedStringSpec(names[i], templates[i]);
}

const Declarations declared;

void init() {
    if (registered)
        return;
    vesk5::DiagModule::registerLibrary("libRombus");
    registered = true;
}

void os_init() {}

namespace {

void publishValue(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device,
                  const vesk5::Value& value) {
    if (!property || !device)
        return;
    property->setValue(value);
    device->addProperty(property);
}

} // namespace

void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device, bool value) {
    publishValue(property, device, vesk5::Value(value));
}

void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device,
                     uint32_t value) {
    publishValue(property, device, vesk5::Value(value));
}

void publishProperty(vesk5::DeviceProperty* property, vesk5::SysInfoDevice* device,
                     const zul::String& value) {
    publishValue(property, device, vesk5::Value(value));
}

zul::String registryFilePath() {
    if (!declared.IEEEVendorRegistryFile)
        return zul::String();
    return declared.IEEEVendorRegistryFile->value().valueString().zulString();
}

} // namespace libRombus
