// Arbitrary bytes as one node's Configuration ROM on the in-memory bus. The first byte chooses
// the run (FuzzInput.h): the whole bus enumerated with CRCs checked, or the node read directly
// with CRC checks off; and the CRCMismatchLogLevel. Vendor lookups go to a small registry.
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "lib1394/MemoryBus.h"
#include "libRombus/Lib1394SysInfo.h"
#include "vesk5/SysInfoDevice.h"

#include <memory>
#include <vector>

namespace {

using namespace rombus_fuzz;

// The node id of physical node 0 on the local bus.
constexpr unsigned FirstNode = 0xFFC0;

void readDirectly() {
    vesk5::SysInfoDevice* device = vesk5::SysInfoDevice::createGeneric(
        vesk5::DeviceCapability::IEEE1394(), vesk5::DeviceCapability::NIL(), "node", "node", "",
        "node");
    libRombus::AccessorHandle accessor =
        lib1394::ConfigROMContext::getConfigROMAccessor(0, FirstNode, true);
    libRombus::Lib1394SysInfo reader(accessor, libRombus::DeviceHandle(device));
    reader.readConfigROM(false);
    // A copy shares the accessor and the messages; both must outlive the original.
    libRombus::Lib1394SysInfo copy(reader);
    if (copy.getMessages().size() != reader.getMessages().size())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setUpModuleWithSeedRegistry();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const uint8_t mode = data[0];
    const unsigned level = (mode >> RomLevelShift) & 3;
    setParameter(libRombus::declared.CRCMismatchLogLevel, vesk5::Value(uint32_t{level}));

    auto bus = std::make_shared<lib1394::MemoryBus>();
    bus->addPort();
    bus->addNode(0, std::vector<uint8_t>(data + 1, data + size), 0x0030E00001020304ull);
    lib1394::ConfigROMContext::installBus(bus);

    if (mode & RomCrcOff) {
        readDirectly();
    } else {
        zul::Array<libRombus::lib1394_enum_log> nodes;
        libRombus::Lib1394SysInfo::enumerateAll(nodes);
        if (nodes.size() != 1)
            std::abort();
    }
    resetFramework();
    if (lib1394::ConfigROMAccessor::liveCount() != 0 || vesk5::SysInfoDevice::liveCount() != 0)
        std::abort();
    return 0;
}
