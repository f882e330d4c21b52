#include "libRombus/Lib1394SysInfo.h"

#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "libRombus/Log.h"
#include "libRombus/csr/Directory.h"
#include "vesk5/SysInfoModule.h"
#include "zul/Buffer.h"
#include "zul/SprintfFormat.h"

#include <memory>

namespace libRombus {
namespace {

LoggerSlot logger{"libRombus.Lib1394SysInfo"};

const char* const sourceFile = "Lib1394SysInfo";

// The bus information block: five quadlets at the start of the ROM.
constexpr unsigned busInfoBlockSize = 20;
constexpr unsigned crcAreaOffset = 4;
constexpr unsigned rootDirectoryOffset = 20;
constexpr uint8_t rootDirectoryKey = 0xC0;
constexpr unsigned char busName[4] = {0x31, 0x33, 0x39, 0x34};

// The local bus (3FFh) in the upper ten bits of a node id; the node number goes below.
constexpr unsigned localBusNodeId = 0xFFC0;

using DeviceObject = std::unique_ptr<vesk5::SysInfoDevice>;

DeviceObject createBusDevice(const zul::String& locator) {
    return DeviceObject(vesk5::SysInfoDevice::createGeneric(vesk5::DeviceCapability::IEEE1394(),
                                                            vesk5::DeviceCapability::NIL(), locator,
                                                            locator, "", locator));
}

void addChildBusId(vesk5::SysInfoDevice& device, const zul::String& busId) {
    const unsigned none = vesk5::SysInfoDevice::NullIndex;
    device.addChildBusId(busId, none, none, none, none, none);
}

zul::String nodeIdText(const lib1394::port_info_t& info, unsigned node) {
    if (node < info.nodeGuids.size() && info.nodeGuids[node] != 0)
        return zul::SprintfFormat("%016llxh",
                                  static_cast<unsigned long long>(info.nodeGuids[node]));
    return zul::SprintfFormat("%u", node);
}

} // namespace

Lib1394SysInfo::Lib1394SysInfo(unsigned int port, unsigned int nodeId, DeviceHandle device)
    : accessor(lib1394::ConfigROMContext::getConfigROMAccessor(port, nodeId, true)),
      device(std::move(device)) {
    messages.reserve(zul::Array<lib1394_log>::FirstAllocation);
}

Lib1394SysInfo::Lib1394SysInfo(const AccessorHandle& accessor, DeviceHandle device)
    : accessor(accessor), device(std::move(device)) {
    messages.reserve(zul::Array<lib1394_log>::FirstAllocation);
}

Lib1394SysInfo::Lib1394SysInfo(const Lib1394SysInfo& other)
    : messages(other.messages), accessor(other.accessor), device(other.device.copy()) {}

Lib1394SysInfo& Lib1394SysInfo::operator=(const Lib1394SysInfo& other) {
    if (&messages != &other.messages)
        messages = other.messages;
    accessor = other.accessor;
    device = other.device.copy();
    return *this;
}

Lib1394SysInfo::~Lib1394SysInfo() {
    device.reset();
}

bool Lib1394SysInfo::isAccessible() const {
    return accessor->isAccessible();
}

bool Lib1394SysInfo::attachSysInfo(DeviceHandle newDevice) {
    if (newDevice.isEmpty()) {
        ROMBUS_LOG(logger, zul::LOG_FAILURE,
                   "Lib1394SysInfo::attachSysInfo - no device passed in to attach sysinfo to");
        return false;
    }
    setDevice(std::move(newDevice));
    return readConfigROM(true);
}

void Lib1394SysInfo::setDevice(DeviceHandle newDevice) {
    if (!newDevice.isEmpty())
        device = std::move(newDevice);
}

bool Lib1394SysInfo::readConfigROM(bool checkCRC) {
    if (!accessor->isAccessible())
        return false;
    unsigned char block[busInfoBlockSize];
    if (!accessor->readStructure(0, block, busInfoBlockSize)) {
        recordReadFailure(0, busInfoBlockSize, __LINE__);
        ROMBUS_LOG(logger, zul::LOG_FAILURE, "read config rom base structures failed");
        return false;
    }
    bool ok = !checkCRC || readCoveredArea(block);
    checkSignature(block, ok);
    publishBusOptions(block);
    return ok && readRootDirectory(checkCRC);
}

// Reads the quadlets the ROM CRC covers and verifies them against the stored CRC.
bool Lib1394SysInfo::readCoveredArea(const unsigned char* block) {
    unsigned crcLength = block[1];
    ROMBUS_LOG(logger, zul::LOG_DETAIL, "CRC length : ", crcLength);
    unsigned length = crcLength * 4;
    zul::Buffer<unsigned char> area(length);
    if (accessor->readBlock(crcAreaOffset, length, area.data()) != length) {
        recordReadFailure(crcAreaOffset, length, __LINE__);
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "read config rom base structures failed");
        return false;
    }
    lib1394_log record;
    unsigned short expected = static_cast<unsigned short>(block[2] | (block[3] << 8));
    bool ok = Lib1394Util::verifyCRC16(expected, area, 0, length, crcAreaOffset,
                                       "configuration rom", record);
    if (record.level != LevelProgress) {
        raiseLog(declared.CRCCheckFailed.event, record, device.get(), sourceFile, __LINE__);
        messages.append(record);
    }
    return ok;
}

void Lib1394SysInfo::recordReadFailure(uint32_t offset, uint32_t length, int line) {
    lib1394_log record(declared.ReadFailed.message, LevelWarning);
    setEventVariable(declared.ReadFailed.event, record, "offset", hex(offset));
    setEventVariable(declared.ReadFailed.event, record, "length", decimal(length));
    raiseLog(declared.ReadFailed.event, record, device.get(), sourceFile, line);
    messages.append(record);
}

void Lib1394SysInfo::checkSignature(const unsigned char* block, bool& ok) {
    if (std::equal(busName, busName + 4, block + 4))
        return;
    lib1394_log record(declared.SignatureCheckFailed.message, LevelError);
    vesk5::Event* event = declared.SignatureCheckFailed.event;
    setEventVariable(event, record, "sig_type", "Bus Information Block");
    setEventVariable(event, record, "sig_offset", "0404h");
    setEventVariable(event, record, "sig_expected", "31333934h");
    setEventVariable(event, record, "sig_found",
                     zul::SprintfFormat("%X%X%X%Xh", block[4], block[5], block[6], block[7]));
    raiseLog(event, record, device.get(), sourceFile, __LINE__);
    messages.append(record);
    ok = false;
}

void Lib1394SysInfo::publishBusOptions(const unsigned char* block) {
    vesk5::SysInfoDevice* target = device.get();
    if (!target)
        return;
    const uint8_t capabilities = block[8];
    publishProperty(declared.IsoResManCap, target, (capabilities & 0x80) != 0);
    publishProperty(declared.CycleMasterCap, target, (capabilities & 0x40) != 0);
    publishProperty(declared.IsoCap, target, (capabilities & 0x20) != 0);
    publishProperty(declared.BusManCap, target, (capabilities & 0x10) != 0);
    publishProperty(declared.PowerManCap, target, (capabilities & 0x08) != 0);
    if (capabilities & 0x40)
        publishProperty(declared.CycleClockAcc, target, uint32_t{block[9]});
    unsigned maxRec = block[10] >> 4;
    if (maxRec >= 1 && maxRec <= 10)
        publishProperty(declared.MaxDataRecSize, target, uint32_t{2} << maxRec);
}

bool Lib1394SysInfo::readRootDirectory(bool checkCRC) {
    const lib1394::cr_key_value_t rootKey{rootDirectoryKey, {0, 0, 0}};
    Directory root(rootDirectoryOffset, rootKey, accessor, device.copy());
    root.setKind(KindRoot);
    bool ok = root.parse(checkCRC);
    appendMessages(messages, root.getMessages());
    return ok;
}

DeviceHandle Lib1394SysInfo::createParentDevice(unsigned int) {
    return DeviceHandle();
}

bool Lib1394SysInfo::enumerateAll(zul::Array<lib1394_enum_log>& out) {
    zul::Array<lib1394::port_info_t> ports;
    ports.reserve(zul::Array<lib1394::port_info_t>::FirstAllocation);
    AccessorHandle list = lib1394::ConfigROMContext::getConfigROMAccessor(
        lib1394::ConfigROMContext::AllPorts, 0, true);
    if (!list->getPortInfo(ports)) {
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "unable to retrieve port info for 1394");
        return false;
    }
    list.reset();
    for (unsigned port = 0; port < ports.size(); ++port)
        enumeratePort(port, ports[port], out);
    return ports.size() > 0;
}

void Lib1394SysInfo::enumeratePort(unsigned port, const lib1394::port_info_t& info,
                                   zul::Array<lib1394_enum_log>& out) {
    const zul::String locator = zul::SprintfFormat("IEEE1394PORT:%u", port);
    createParentDevice(port);
    DeviceObject portDevice = createBusDevice(locator);
    AccessorHandle portAccessor = lib1394::ConfigROMContext::getConfigROMAccessor(port, 0, true);
    publishProperty(declared.ConfigROMAccessible, portDevice.get(), portAccessor->isAccessible());
    addChildBusId(*portDevice, zul::SprintfFormat("IEEE1394NODE:%u", port));
    vesk5::SysInfoModule::addDevice(portDevice.get());
    portDevice.reset();
    portAccessor.reset();
    for (unsigned node = 0; node < info.nodeCount; ++node)
        enumerateNode(port, node, info, out);
}

void Lib1394SysInfo::enumerateNode(unsigned port, unsigned node, const lib1394::port_info_t& info,
                                   zul::Array<lib1394_enum_log>& out) {
    const zul::String locator =
        zul::SprintfFormat("IEEE1394NODE:%u:", port).str() + nodeIdText(info, node);
    DeviceObject nodeDevice = createBusDevice(locator);
    addChildBusId(*nodeDevice, locator);
    auto reader = std::make_unique<Lib1394SysInfo>(port, localBusNodeId | node, DeviceHandle());
    publishProperty(declared.ConfigROMAccessible, nodeDevice.get(), reader->isAccessible());
    if (!reader->attachSysInfo(DeviceHandle(nodeDevice.get())))
        ROMBUS_LOG(logger, zul::LOG_PROBLEM, "error attaching sysinfo for ", nodeDevice->name());
    out.append({locator, reader->getMessages()});
    reader.reset();
    vesk5::SysInfoModule::addDevice(nodeDevice.get());
}

} // namespace libRombus
