#include "libRombus/csr/Node.h"

#include "libRombus/Lib1394Util.h"
#include "libRombus/Log.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Buffer.h"

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.csr.Node"};

const char* const keyTypeWords[4] = {"IMMEDIATE", "CSR_OFFSET", "LEAF", "DIRECTORY"};

} // namespace

Node::Node(unsigned entryOffset, const lib1394::cr_key_value_t& key, const AccessorHandle& accessor,
           DeviceHandle parentDevice)
    : Entry(key, accessor, std::move(parentDevice)),
      offset(entryOffset + 4 * Lib1394Util::crKeyConvert(key.value)) {
    if (!this->parentDevice.isEmpty())
        device = createDevice(getHwLocator());
}

void Node::publishDevice() {
    if (!device.isEmpty())
        vesk5::SysInfoModule::addDevice(device.get());
}

Node::~Node() {
    device.reset();
}

zul::String Node::getHwLocator() const {
    return locatorAt(keyTypeWords[key.key >> 6], offset);
}

bool Node::verifyCRC() {
    unsigned char header[4];
    if (!accessor->readStructure(offset, header, sizeof header)) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unable to read node header - offset ", offset,
                   " node type ", getName());
        return false;
    }
    unsigned length = ((header[0] << 8) | header[1]) * 4u;
    zul::Buffer<unsigned char> body(length);
    if (accessor->readBlock(offset + 4, length, body.data()) != length)
        return false;
    lib1394_log record;
    unsigned short expected = static_cast<unsigned short>(header[2] | (header[3] << 8));
    if (Lib1394Util::verifyCRC16(expected, body, 0, length, offset + 4, getName(), record))
        return true;
    messages.append(record);
    return false;
}

} // namespace libRombus
