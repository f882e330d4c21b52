#pragma once

#include "zul/Api.h"

#include "lib1394/BusCapture.h"
#include "lib1394/LiveBus.h"

#include <chrono>
#include <map>
#include <vector>

namespace lib1394 {

// Reads the vendor identification page (page 1) of PHYs through the local node's device file:
// a remote access packet per register (IEEE 1394a paged read, type 5), answered by a remote reply
// packet (type 7) that the kernel hands over as a received PHY packet. A PHY that gives no reply
// to its first register (an IEEE 1394-1995 PHY, which knows no remote access) is asked no more.
class ROMBUS_API PhyRegisters {
public:
    using Time = std::chrono::steady_clock::time_point;

    // The open file of the local node, the generation the packets are valid in, the kernel's ABI
    // version (PHY packets need 4), and the time the reading may not pass.
    PhyRegisters(FwDevice& device, LiveClock& clock, uint32_t generation, uint32_t abi,
                 Time deadline);

    // The identity of each PHY named, by physical id.
    std::map<unsigned, PhyIdentity> read(const std::vector<unsigned>& phyIds);

    // How long a reply may take.
    static constexpr std::chrono::milliseconds ReplyTime{100};

    // The quadlets of a paged read of a register and of its reply carrying value.
    static uint32_t pagedRead(unsigned phyId, unsigned page, unsigned reg);
    static uint32_t pagedReply(unsigned phyId, unsigned page, unsigned reg, uint8_t value);

private:
    enum class Reply { Value, Silent, Failed };
    Reply readRegister(unsigned phyId, unsigned reg, uint8_t& value);
    Reply awaitReply(uint32_t expected, uint8_t& value);

    FwDevice& device_;
    LiveClock& clock_;
    uint32_t generation_;
    uint32_t abi_;
    Time deadline_;
    uint64_t closure_ = 0;
    std::string trouble_;
};

} // namespace lib1394
