#include "lib1394/LiveNode.h"

#include <linux/firewire-constants.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace lib1394 {
namespace {

// The ABI the live bus speaks: since version 4 the kernel fills in the bus manager's node id.
constexpr uint32_t AbiVersion = 4;
constexpr size_t RomQuadlets = MaxRomSize / 4;

struct RcodeName {
    uint32_t rcode;
    const char* name;
};

constexpr RcodeName RcodeNames[] = {
    {RCODE_COMPLETE, "complete"},
    {RCODE_CONFLICT_ERROR, "conflict error"},
    {RCODE_DATA_ERROR, "data error"},
    {RCODE_TYPE_ERROR, "type error"},
    {RCODE_ADDRESS_ERROR, "address error"},
    {RCODE_SEND_ERROR, "send error"},
    {RCODE_CANCELLED, "cancelled (no response within the split timeout)"},
    {RCODE_BUSY, "busy"},
    {RCODE_GENERATION, "bus reset"},
    {RCODE_NO_ACK, "no acknowledgement"},
};

// Answers a later try may change: the node or the bus is busy, or the request got lost.
constexpr uint32_t PassingRcodes[] = {RCODE_BUSY, RCODE_CANCELLED, RCODE_SEND_ERROR, RCODE_NO_ACK,
                                      RCODE_CONFLICT_ERROR};

std::string rcodeName(uint32_t rcode) {
    for (const RcodeName& known : RcodeNames)
        if (known.rcode == rcode)
            return known.name;
    return "response code " + std::to_string(rcode);
}

template <typename T> uint64_t pointerOf(T* object) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(object));
}

// An event as read from the device file: its fixed part, then for a response its payload.
struct alignas(8) EventBuffer {
    uint8_t bytes[256];
};

template <typename T> bool take(const EventBuffer& event, size_t size, T& out) {
    if (size < sizeof(T))
        return false;
    std::memcpy(&out, event.bytes, sizeof(T));
    return true;
}

} // namespace

std::string deviceTrouble(int error) {
    return error == ENODEV ? "the node left the bus" : std::strerror(error);
}

LiveNode::LiveNode(FwDevice& device, LiveClock& clock, const LiveLimits& limits, Time deadline)
    : device_(device), clock_(clock), limits_(limits), deadline_(deadline) {}

int LiveNode::askKernel(std::vector<uint8_t>* rom) {
    std::array<uint32_t, RomQuadlets> quadlets{};
    fw_cdev_event_bus_reset state{};
    fw_cdev_get_info info{};
    info.version = AbiVersion;
    info.rom_length = rom ? sizeof(quadlets) : 0;
    info.rom = rom ? pointerOf(quadlets.data()) : 0;
    info.bus_reset = pointerOf(&state);
    if (const int error = device_.getInfo(info))
        return error_ = error;
    state_ = state;
    card_ = info.card;
    kernelAbi_ = info.version;
    resetSeen_ = false;
    if (rom) {
        // The kernel keeps the quadlets as numbers in the host's order; the bus sends them most
        // significant byte first.
        const size_t count = std::min<size_t>(info.rom_length, sizeof(quadlets)) / 4;
        rom->clear();
        for (size_t i = 0; i < count; ++i)
            for (int shift = 24; shift >= 0; shift -= 8)
                rom->push_back(static_cast<uint8_t>(quadlets[i] >> shift));
    }
    return 0;
}

Answer LiveNode::read(uint64_t address, uint32_t& value) {
    for (unsigned attempt = 1;; ++attempt) {
        if (clock_.now() >= deadline_)
            return Answer::TimeUp;
        const Answer answer = transact(address, value);
        if (answer != Answer::NoAnswer || attempt >= limits_.attempts)
            return answer;
        pause(limits_.backoff * attempt);
    }
}

void LiveNode::pause(std::chrono::milliseconds duration) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - clock_.now());
    if (left.count() > 0)
        clock_.sleep(std::min(duration, left));
}

Answer LiveNode::transact(uint64_t address, uint32_t& value) {
    if (resetSeen_)
        return Answer::Reset;
    uint32_t payload = 0;
    fw_cdev_send_request request{};
    request.tcode = TCODE_READ_QUADLET_REQUEST;
    request.length = 4;
    request.offset = address;
    request.closure = ++closure_;
    request.data = pointerOf(&payload);
    request.generation = state_.generation;
    if (const int error = device_.sendRequest(request)) {
        error_ = error;
        return Answer::Failed;
    }
    return awaitResponse(request.closure, value);
}

// A bus reset event, unless it tells a generation the kernel already answered with: the event of
// a reset that a request's response announced first may come after the node was asked anew.
void LiveNode::takeReset(const void* event, size_t size) {
    fw_cdev_event_bus_reset reset{};
    if (size < sizeof(reset))
        return;
    std::memcpy(&reset, event, sizeof(reset));
    if (reset.generation == state_.generation)
        return;
    state_ = reset;
    resetSeen_ = true;
}

// Reads events until the response of the request with this closure comes. Responses to earlier
// requests that came too late are dropped; a bus reset is taken in, and makes the response,
// whatever it says, one from a bus that is gone.
Answer LiveNode::awaitResponse(uint64_t closure, uint32_t& value) {
    const Time until = std::min(clock_.now() + limits_.response, deadline_);
    for (Time now = clock_.now(); now < until; now = clock_.now()) {
        EventBuffer event;
        size_t size = sizeof(event.bytes);
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - now);
        if (const int error = device_.readEvent(event.bytes, size, wait)) {
            error_ = error;
            return Answer::Failed;
        }
        fw_cdev_event_common common{};
        if (!take(event, size, common))
            continue;
        if (common.type == FW_CDEV_EVENT_BUS_RESET) {
            takeReset(event.bytes, size);
            continue;
        }
        fw_cdev_event_response response{};
        if (common.type != FW_CDEV_EVENT_RESPONSE || !take(event, size, response) ||
            response.closure != closure)
            continue;
        if (resetSeen_)
            return Answer::Reset;
        const size_t payload = offsetof(fw_cdev_event_response, data);
        const uint32_t length = static_cast<uint32_t>(
            std::min<size_t>(response.length, size > payload ? size - payload : 0));
        return judge(response.rcode, event.bytes + payload, length, value);
    }
    trouble_ = "no response within " + std::to_string(limits_.response.count()) + " ms";
    return Answer::NoAnswer;
}

Answer LiveNode::judge(uint32_t rcode, const uint8_t* data, uint32_t length, uint32_t& value) {
    trouble_ = rcodeName(rcode);
    if (rcode == RCODE_COMPLETE && length >= 4) {
        // The payload is as the bus carried it: most significant byte first.
        value =
            uint32_t{data[0]} << 24 | uint32_t{data[1]} << 16 | uint32_t{data[2]} << 8 | data[3];
        return Answer::Complete;
    }
    if (rcode == RCODE_COMPLETE) {
        trouble_ = "a response of " + std::to_string(length) + " bytes, not a quadlet";
        return Answer::Refused;
    }
    if (rcode == RCODE_GENERATION)
        return Answer::Reset;
    const bool passing = std::find(std::begin(PassingRcodes), std::end(PassingRcodes), rcode) !=
                         std::end(PassingRcodes);
    return passing ? Answer::NoAnswer : Answer::Refused;
}

} // namespace lib1394
