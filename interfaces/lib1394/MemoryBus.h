#pragma once

#include "zul/Api.h"

#include "lib1394/ConfigROM.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace lib1394 {

// One node of a bus held in memory: its ROM image in ROM byte order (only the first MaxRomSize
// bytes are visible), its unique id, and the faults it is told to show.
struct MemoryNode {
    std::vector<uint8_t> image;
    uint64_t guid = 0;
    bool accessible = true;
    // A read that covers this offset reads nothing.
    std::optional<unsigned> failReadAt;
    // A read that starts at this offset reads at most shortCount bytes.
    std::optional<unsigned> shortReadAt;
    unsigned shortCount = 0;
};

struct MemoryPort {
    std::vector<MemoryNode> nodes;
    // When set, the port reports this many unique ids instead of one per node.
    std::optional<size_t> guidsListed;
    // When set, the port reports this node count instead of the number of nodes held.
    std::optional<uint32_t> nodeCount;
};

// A bus whose ports and nodes a host program or a test builds in memory. Every read is bounded
// by the image: a read reaching past its end gives the bytes up to the end, and no more.
class ROMBUS_API MemoryBus : public Bus {
public:
    MemoryPort& addPort();
    MemoryNode& addNode(size_t port, std::vector<uint8_t> image, uint64_t guid = 0);
    MemoryPort& port(size_t index) { return ports_.at(index); }
    size_t portCount() const { return ports_.size(); }
    void failPortList(bool fail) { failPortList_ = fail; }

    ConfigROMAccessor* createAccessor(unsigned port, unsigned nodeId) override;

private:
    std::vector<MemoryPort> ports_;
    bool failPortList_ = false;
};

} // namespace lib1394
