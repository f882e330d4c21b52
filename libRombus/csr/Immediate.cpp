#include "libRombus/csr/Immediate.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "vesk5/SysInfoModule.h"

namespace libRombus {
namespace {

enum CompanyIdKey : uint32_t { VendorKeyId = 0x03, SpecifierKeyId = 0x12 };

} // namespace

Immediate::Immediate(unsigned entryOffset, const lib1394::cr_key_value_t& entry,
                     const AccessorHandle& accessor, DeviceHandle parentDevice)
    : Entry(entry, accessor, std::move(parentDevice)), keyId(entry.key & 0x3Fu),
      value(Lib1394Util::crKeyConvert(entry.value)), offset(entryOffset) {
    if (!this->parentDevice.isEmpty())
        device = createDevice(getHwLocator());
}

Immediate::~Immediate() {
    device.reset();
}

zul::String Immediate::getHwLocator() const {
    return locatorAt("IMMEDIATE", offset);
}

bool Immediate::parse(bool) {
    if (device.isEmpty())
        return true;
    if (keyId == VendorKeyId || keyId == SpecifierKeyId) {
        zul::String name = Lib1394Util::getRIDString(registryFilePath(), value);
        if (!name.isEmpty())
            publishProperty(declared.VendorName, device.get(), name);
    }
    publishProperty(declared.ImmediateValue, device.get(), value);
    vesk5::SysInfoModule::addDevice(device.get());
    return true;
}

} // namespace libRombus
