#pragma once

#include "zul/Api.h"

#include "lib1394/BusCapture.h"
#include "lib1394/FwDevice.h"
#include "lib1394/RomImageBus.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lib1394 {

// The time of the live bus: what it reads for now, and how it waits between tries. The live bus
// never looks at the clock otherwise, so a stand-in clock makes its time bounds testable.
class ROMBUS_API LiveClock {
public:
    virtual ~LiveClock() = default;
    virtual std::chrono::steady_clock::time_point now();
    virtual void sleep(std::chrono::milliseconds duration);
};

// How long and how often the live bus tries, modelled on the kernel's own ROM reader.
struct LiveLimits {
    // One request: a response not come by then counts as a timeout.
    std::chrono::milliseconds response{1000};
    // Tries of one quadlet answered busy or not at all, the n-th after a pause of n times
    // backoff.
    unsigned attempts = 5;
    std::chrono::milliseconds backoff{10};
    // Reads of a first quadlet of 0 (a node still booting), pause apart.
    unsigned bootChecks = 5;
    std::chrono::milliseconds bootPause{1000};
    // Reads of the whole ROM begun anew after a bus reset or a ROM that changed while read.
    unsigned restarts = 5;
    // The most one node, and all nodes together, may take.
    std::chrono::milliseconds node{15000};
    std::chrono::milliseconds bus{60000};
};

// Where the live bus finds its device files and how it opens and times them.
struct LiveSetup {
    std::string folder = "/dev";
    // A device not yet opened; by default the running machine's.
    std::function<std::unique_ptr<FwDevice>()> makeDevice = [] {
        return std::make_unique<SystemFwDevice>();
    };
    // The clock; by default the steady clock. It must outlive the reading.
    LiveClock* clock = nullptr;
    LiveLimits limits;
};

// What the live bus found: ports (one per FireWire card) with their nodes, notes on the bus, and
// how many device files fwN the folder holds.
struct LiveView {
    std::vector<RomPort> ports;
    std::vector<std::string> notes;
    size_t skipped = 0; // nodes noted and not read
    size_t deviceFiles = 0;
    // Each card's bus: its topology map, the kernel's node ids and what is known of each PHY.
    std::vector<BusCapture> buses;
};

// The FireWire buses read live through the kernel's device files fwN of a folder (normally
// /dev): every node's Configuration ROM is read from the device itself, quadlet by quadlet at
// FFFFF0000400h, as the kernel reads it, up to 256 quadlets: the bus information block, the
// quadlets its crc_length covers, and every block the directories reach. The kernel's cached copy
// stays beside it (RomNode::kernelRom). A port is a card, its nodes ordered by physical id; a
// file that cannot be opened or asked makes a node that is not accessible, on a port of its own
// after the cards', named by the file (its card and node are unknown). The notes tell each card's
// state after its last bus reset, the nodes of its topology map with their speeds, and the nodes
// that have no device file; the buses() keep each card's topology map and, read through PHY
// packets from the local node's file, every PHY's vendor identification. The bus is read once,
// when it is made.
class ROMBUS_API LiveBus : public RomImageBus {
public:
    explicit LiveBus(const LiveSetup& setup = LiveSetup());

    size_t deviceFiles() const { return deviceFiles_; }
    const std::vector<BusCapture>& buses() const { return buses_; }

    static LiveView read(const LiveSetup& setup);

private:
    explicit LiveBus(LiveView view);

    size_t deviceFiles_;
    std::vector<BusCapture> buses_;
};

} // namespace lib1394
