#pragma once

#include "zul/Api.h"

#include "lib1394/LiveBus.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace lib1394 {

// How a read of one quadlet ended.
enum class Answer {
    Complete, // the value came
    Refused,  // the node answered an error no retry mends (address, type or data error)
    Reset,    // the bus was reset: the generation the request carried is gone
    NoAnswer, // busy or silent through every try
    TimeUp,   // the node's time is spent
    Failed,   // the device file failed (the node left the bus: ENODEV)
};

// One node reached through its open device file: the kernel's view of it and the bus, and quadlet
// read requests, each tried again while the node answers busy or not at all, a pause growing
// between tries, never past the node's deadline.
class ROMBUS_API LiveNode {
public:
    using Time = std::chrono::steady_clock::time_point;

    LiveNode(FwDevice& device, LiveClock& clock, const LiveLimits& limits, Time deadline);

    // Asks the kernel for the node's state after the last bus reset and, when rom is given, its
    // cached copy of the node's ROM in bus order. Answers 0 or an errno value.
    int askKernel(std::vector<uint8_t>* rom);
    // Reads the quadlet at a node address (FFFFF0000400h + 4i for the ROM) into value, the
    // quadlet as a number.
    Answer read(uint64_t address, uint32_t& value);
    // Waits, but never past the deadline.
    void pause(std::chrono::milliseconds duration);

    const fw_cdev_event_bus_reset& state() const { return state_; }
    unsigned card() const { return card_; }
    // The version of the kernel's ABI, as GET_INFO answered it.
    uint32_t kernelAbi() const { return kernelAbi_; }
    // What the last read that did not complete met, in words ("busy", "address error",
    // "no response within 1000 ms"), and the errno of the last failure.
    const std::string& trouble() const { return trouble_; }
    int error() const { return error_; }
    const LiveLimits& limits() const { return limits_; }
    LiveClock& clock() { return clock_; }

private:
    Answer transact(uint64_t address, uint32_t& value);
    Answer awaitResponse(uint64_t closure, uint32_t& value);
    void takeReset(const void* event, size_t size);
    Answer judge(uint32_t rcode, const uint8_t* data, uint32_t length, uint32_t& value);

    FwDevice& device_;
    LiveClock& clock_;
    const LiveLimits& limits_;
    Time deadline_;
    fw_cdev_event_bus_reset state_{};
    unsigned card_ = 0;
    uint32_t kernelAbi_ = 0;
    uint64_t closure_ = 0;
    bool resetSeen_ = false;
    std::string trouble_;
    int error_ = 0;
};

// What an errno value of a device file means for its node, in words: "the node left the bus"
// for ENODEV, the system's text otherwise.
ROMBUS_API std::string deviceTrouble(int error);

// The address of quadlet i of the Configuration ROM, and of the local node's topology map.
constexpr uint64_t RomAddress = 0xFFFFF0000400ull;
constexpr uint64_t TopologyMapAddress = 0xFFFFF0001000ull;

} // namespace lib1394
