#include "libRombus/csr/Entry.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "zul/SprintfFormat.h"

namespace libRombus {
namespace {

// The CSR address at which a node's Configuration ROM begins.
constexpr uint64_t configRomBase = 0xFFFFF0000400ull;

} // namespace

Entry::Entry(const lib1394::cr_key_value_t& key, const AccessorHandle& accessor,
             DeviceHandle parentDevice)
    : key(key), accessor(accessor), parentDevice(std::move(parentDevice)),
      guid(accessor.isEmpty() ? 0 : accessor->getGuid()) {}

Entry::~Entry() {
    parentDevice.reset();
}

zul::String Entry::getName() const {
    return Lib1394Util::getEntryString(key);
}

zul::String Entry::locatorAt(const char* word, uint32_t romOffset) const {
    unsigned port = accessor.isEmpty() ? 0 : accessor->getPort();
    return zul::SprintfFormat("IEEE1394NODE:%u:0x%016llx:%s@%llx", port,
                              static_cast<unsigned long long>(guid), word,
                              static_cast<unsigned long long>(configRomBase + romOffset));
}

DeviceHandle Entry::createDevice(const zul::String& locator) const {
    if (parentDevice.isEmpty())
        return DeviceHandle();
    DeviceHandle device(vesk5::SysInfoDevice::createGeneric(vesk5::DeviceCapability::Firmware(),
                                                            vesk5::DeviceCapability::IEEE1394(),
                                                            getName(), locator, "", locator));
    publishProperty(declared.parentLocator, device.get(), parentDevice->hwLocator().zulString());
    return device;
}

} // namespace libRombus
