#pragma once

#include "zul/Api.h"

#include <linux/firewire-cdev.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <string>

namespace lib1394 {

// The calls the live bus makes on one FireWire device file (/dev/fwN) of the Linux kernel, each
// in terms of the kernel's own structures. Every call answers 0 or an errno value: EACCES when
// the file may not be opened, ENODEV when its node has left the bus.
class ROMBUS_API FwDevice {
public:
    virtual ~FwDevice() = default;

    // Opens the device file for reading and writing.
    virtual int open(const std::string& path) = 0;
    // FW_CDEV_IOC_GET_INFO: the kernel's cached copy of the node's ROM (quadlets in the host's
    // byte order) into info.rom, and the bus as the last reset left it into info.bus_reset.
    virtual int getInfo(fw_cdev_get_info& info) = 0;
    // FW_CDEV_IOC_SEND_REQUEST: a request to the node, answered later by an
    // FW_CDEV_EVENT_RESPONSE event carrying the request's closure.
    virtual int sendRequest(const fw_cdev_send_request& request) = 0;
    // Waits up to timeout for the next event (a response or a bus reset) and reads it into the
    // buffer; size comes in as the buffer's bytes and goes out as the event's, 0 when none came.
    virtual int readEvent(void* buffer, size_t& size, std::chrono::milliseconds timeout) = 0;
    // FW_CDEV_IOC_SEND_PHY_PACKET (ABI 4 on; the local node's file only): a PHY packet, its
    // quadlet and the quadlet's complement, told sent by an FW_CDEV_EVENT_PHY_PACKET_SENT event.
    virtual int sendPhyPacket(fw_cdev_send_phy_packet& packet) {
        (void)packet;
        return ENOTTY;
    }
    // FW_CDEV_IOC_RECEIVE_PHY_PACKETS (ABI 4 on; the local node's file only): from then on the
    // PHY packets the card receives come as FW_CDEV_EVENT_PHY_PACKET_RECEIVED events.
    virtual int receivePhyPackets(fw_cdev_receive_phy_packets& request) {
        (void)request;
        return ENOTTY;
    }
};

// The device file of the running machine, through open, ioctl, poll and read.
class ROMBUS_API SystemFwDevice : public FwDevice {
public:
    SystemFwDevice() = default;
    ~SystemFwDevice() override;
    SystemFwDevice(const SystemFwDevice&) = delete;
    SystemFwDevice& operator=(const SystemFwDevice&) = delete;

    int open(const std::string& path) override;
    int getInfo(fw_cdev_get_info& info) override;
    int sendRequest(const fw_cdev_send_request& request) override;
    int readEvent(void* buffer, size_t& size, std::chrono::milliseconds timeout) override;
    int sendPhyPacket(fw_cdev_send_phy_packet& packet) override;
    int receivePhyPackets(fw_cdev_receive_phy_packets& request) override;

private:
    int fd_ = -1;
};

} // namespace lib1394
