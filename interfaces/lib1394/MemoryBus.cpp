#include "lib1394/MemoryBus.h"

#include <algorithm>
#include <cstring>

namespace lib1394 {
namespace {

constexpr unsigned LocalNodeMask = 0x3F;

class MemoryAccessor : public ConfigROMAccessor {
public:
    MemoryAccessor(unsigned port, const MemoryNode& node)
        : ConfigROMAccessor(port, node.guid, node.accessible), node_(node) {
        if (node_.image.size() > MaxRomSize)
            node_.image.resize(MaxRomSize);
    }

    unsigned readBlock(unsigned offset, unsigned length, void* buffer) override {
        if (!isAccessible() || offset >= node_.image.size())
            return 0;
        // Computed in 64 bits so that an offset near the top of the range cannot wrap around.
        const uint64_t end = std::min<uint64_t>(uint64_t{offset} + length, node_.image.size());
        if (coversFailure(offset, end))
            return 0;
        uint64_t count = end - offset;
        if (node_.shortReadAt == offset)
            count = std::min<uint64_t>(count, node_.shortCount);
        // A read of no bytes may come with no buffer at all (an empty block has no storage).
        if (count == 0)
            return 0;
        std::memcpy(buffer, node_.image.data() + offset, count);
        return static_cast<unsigned>(count);
    }

private:
    bool coversFailure(uint64_t begin, uint64_t end) const {
        return node_.failReadAt && begin <= *node_.failReadAt && *node_.failReadAt < end;
    }

    MemoryNode node_;
};

class PortListAccessor : public ConfigROMAccessor {
public:
    PortListAccessor(const std::vector<MemoryPort>& ports, bool fail)
        : ConfigROMAccessor(ConfigROMContext::AllPorts, 0, !fail) {
        for (const MemoryPort& port : ports)
            ports_.append(describe(port));
    }

    bool getPortInfo(zul::Array<port_info_t>& out) override {
        if (!isAccessible())
            return false;
        for (const port_info_t& port : ports_)
            out.append(port);
        return true;
    }

private:
    static port_info_t describe(const MemoryPort& port) {
        port_info_t info;
        info.nodeCount = port.nodeCount.value_or(static_cast<uint32_t>(port.nodes.size()));
        size_t listed = std::min(port.guidsListed.value_or(port.nodes.size()), port.nodes.size());
        for (size_t n = 0; n < listed; ++n)
            info.nodeGuids.append(port.nodes[n].guid);
        return info;
    }

    zul::Array<port_info_t> ports_;
};

} // namespace

MemoryPort& MemoryBus::addPort() {
    return ports_.emplace_back();
}

MemoryNode& MemoryBus::addNode(size_t port, std::vector<uint8_t> image, uint64_t guid) {
    MemoryNode& node = ports_.at(port).nodes.emplace_back();
    node.image = std::move(image);
    node.guid = guid;
    return node;
}

ConfigROMAccessor* MemoryBus::createAccessor(unsigned port, unsigned nodeId) {
    if (port == ConfigROMContext::AllPorts)
        return new PortListAccessor(ports_, failPortList_);
    if (port >= ports_.size())
        return new ConfigROMAccessor(port, 0, false);
    const MemoryPort& memoryPort = ports_[port];
    if (nodeId == 0)
        return new ConfigROMAccessor(port, 0, true);
    unsigned node = nodeId & LocalNodeMask;
    if (node >= memoryPort.nodes.size())
        return new ConfigROMAccessor(port, 0, false);
    return new MemoryAccessor(port, memoryPort.nodes[node]);
}

} // namespace lib1394
