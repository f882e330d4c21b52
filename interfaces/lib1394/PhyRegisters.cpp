#include "lib1394/PhyRegisters.h"

#include "lib1394/LiveNode.h"

#include <linux/firewire-constants.h>

#include <cstring>

namespace lib1394 {
namespace {

// PHY packets and their reception came with ABI 4 (kernel 2.6.36).
constexpr uint32_t PhyPacketAbi = 4;
// The vendor identification page: registers 2 to 4 the vendor id, 5 to 7 the product id.
constexpr unsigned VendorPage = 1;
constexpr unsigned FirstRegister = 2;
constexpr unsigned LastRegister = 7;
// Extended PHY packets (identifier 00, R and T 0): the type field, bits 18 to 21.
constexpr uint32_t PagedReadType = 5;
constexpr uint32_t PagedReplyType = 7;
// A reply carries its request's id, page, port and register, and the register's value in its low
// byte.
constexpr uint32_t ReplyMask = 0xFFFFFF00u;

struct alignas(8) EventBuffer {
    uint8_t bytes[64];
};

} // namespace

PhyRegisters::PhyRegisters(FwDevice& device, LiveClock& clock, uint32_t generation, uint32_t abi,
                           Time deadline)
    : device_(device), clock_(clock), generation_(generation), abi_(abi), deadline_(deadline) {}

uint32_t PhyRegisters::pagedRead(unsigned phyId, unsigned page, unsigned reg) {
    return (phyId & 0x3F) << 24 | PagedReadType << 18 | (page & 7) << 15 | (reg & 7) << 8;
}

uint32_t PhyRegisters::pagedReply(unsigned phyId, unsigned page, unsigned reg, uint8_t value) {
    return (phyId & 0x3F) << 24 | PagedReplyType << 18 | (page & 7) << 15 | (reg & 7) << 8 | value;
}

std::map<unsigned, PhyIdentity> PhyRegisters::read(const std::vector<unsigned>& phyIds) {
    std::map<unsigned, PhyIdentity> identities;
    std::string common;
    fw_cdev_receive_phy_packets receive{};
    if (abi_ < PhyPacketAbi)
        common = "the kernel's FireWire ABI " + std::to_string(abi_) +
                 " has no PHY packets (they came with ABI 4, Linux 2.6.36)";
    else if (const int error = device_.receivePhyPackets(receive))
        common = "PHY packets cannot be received: " + deviceTrouble(error);
    for (unsigned phyId : phyIds) {
        PhyIdentity& identity = identities[phyId];
        identity.asked = common.empty();
        identity.trouble = common;
        if (!common.empty())
            continue;
        uint8_t bytes[LastRegister + 1] = {};
        Reply reply = Reply::Value;
        for (unsigned reg = FirstRegister; reg <= LastRegister && reply == Reply::Value; ++reg)
            reply = readRegister(phyId, reg, bytes[reg]);
        if (reply == Reply::Failed) {
            common = trouble_;
            identity.trouble = trouble_;
            continue;
        }
        identity.answered = reply == Reply::Value;
        identity.trouble = identity.answered ? "" : trouble_;
        identity.vendorId = uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 8 | bytes[4];
        identity.productId = uint32_t{bytes[5]} << 16 | uint32_t{bytes[6]} << 8 | bytes[7];
    }
    return identities;
}

PhyRegisters::Reply PhyRegisters::readRegister(unsigned phyId, unsigned reg, uint8_t& value) {
    if (clock_.now() >= deadline_) {
        trouble_ = "the time for the bus was spent";
        return Reply::Failed;
    }
    fw_cdev_send_phy_packet packet{};
    packet.closure = ++closure_;
    packet.data[0] = pagedRead(phyId, VendorPage, reg);
    packet.data[1] = ~packet.data[0];
    packet.generation = generation_;
    if (const int error = device_.sendPhyPacket(packet)) {
        trouble_ = "a PHY packet could not be sent: " + deviceTrouble(error);
        return Reply::Failed;
    }
    return awaitReply(pagedReply(phyId, VendorPage, reg, 0), value);
}

// Reads events until the reply comes: a packet not sent, or a bus reset, ends the reading.
PhyRegisters::Reply PhyRegisters::awaitReply(uint32_t expected, uint8_t& value) {
    const Time until = std::min(clock_.now() + ReplyTime, deadline_);
    for (Time now = clock_.now(); now < until; now = clock_.now()) {
        EventBuffer event;
        size_t size = sizeof(event.bytes);
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - now);
        if (const int error = device_.readEvent(event.bytes, size, wait)) {
            trouble_ = "the local node's file failed: " + deviceTrouble(error);
            return Reply::Failed;
        }
        fw_cdev_event_phy_packet head{};
        if (size < sizeof(head))
            continue;
        std::memcpy(&head, event.bytes, sizeof(head));
        if (head.type == FW_CDEV_EVENT_BUS_RESET) {
            trouble_ = "a bus reset came while the PHYs were asked";
            return Reply::Failed;
        }
        if (head.type == FW_CDEV_EVENT_PHY_PACKET_SENT && head.rcode != RCODE_COMPLETE &&
            head.closure == closure_) {
            trouble_ = "the card did not send the PHY packet (response code " +
                       std::to_string(head.rcode) + ")";
            return Reply::Failed;
        }
        uint32_t data[2] = {};
        if (head.type != FW_CDEV_EVENT_PHY_PACKET_RECEIVED || head.length < 8 ||
            size < sizeof(head) + sizeof(data))
            continue;
        std::memcpy(data, event.bytes + sizeof(head), sizeof(data));
        if ((data[0] & ReplyMask) == expected && data[1] == ~data[0]) {
            value = static_cast<uint8_t>(data[0]);
            return Reply::Value;
        }
    }
    trouble_ = "no reply to a remote access packet within " + std::to_string(ReplyTime.count()) +
               " ms: an IEEE 1394-1995 PHY, which has no vendor identification page";
    return Reply::Silent;
}

} // namespace lib1394
