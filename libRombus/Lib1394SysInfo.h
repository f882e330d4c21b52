#pragma once

#include "zul/Api.h"

#include "libRombus/Handles.h"
#include "libRombus/Message.h"
#include "zul/Array.h"
#include "zul/String.h"

namespace libRombus {

// What the enumeration hands back for one node: its locator and its problem records.
struct lib1394_enum_log {
    zul::String locator;
    Messages messages;
};

// One node on one 1394 port: reads its Configuration ROM into its device and keeps the problems.
class ROMBUS_API Lib1394SysInfo {
public:
    Lib1394SysInfo(unsigned int port, unsigned int nodeId, DeviceHandle device);
    Lib1394SysInfo(const AccessorHandle& accessor, DeviceHandle device);
    Lib1394SysInfo(const Lib1394SysInfo& other);
    Lib1394SysInfo& operator=(const Lib1394SysInfo& other);
    ~Lib1394SysInfo();

    bool isAccessible() const;
    const Messages& getMessages() const { return messages; }

    // Binds the device and reads the whole ROM, CRCs checked.
    bool attachSysInfo(DeviceHandle device);
    // Reads the bus information block and, when it passed, the root directory and all below it.
    bool readConfigROM(bool checkCRC);
    bool readRootDirectory(bool checkCRC);

    // Publishes every port and node of the machine and appends one record per node to out.
    static bool enumerateAll(zul::Array<lib1394_enum_log>& out);

private:
    void setDevice(DeviceHandle newDevice);
    static DeviceHandle createParentDevice(unsigned int port);

    bool readCoveredArea(const unsigned char* block);
    void recordReadFailure(uint32_t offset, uint32_t length, int line);
    void checkSignature(const unsigned char* block, bool& ok);
    void publishBusOptions(const unsigned char* block);
    static void enumeratePort(unsigned port, const lib1394::port_info_t& info,
                              zul::Array<lib1394_enum_log>& out);
    static void enumerateNode(unsigned port, unsigned node, const lib1394::port_info_t& info,
                              zul::Array<lib1394_enum_log>& out);

    Messages messages;
    AccessorHandle accessor;
    DeviceHandle device;
};

} // namespace libRombus
