#include "lib1394/RomImageBus.h"

#include <algorithm>
#include <cstring>

namespace lib1394 {
namespace {

constexpr unsigned LocalBusMask = 0xFFC0;
constexpr unsigned PhysicalIdMask = 0x3F;

} // namespace

RomImageBus::RomImageBus(std::vector<RomPort> ports, std::vector<std::string> notes, size_t skipped)
    : ports_(std::move(ports)), notes_(std::move(notes)), skipped_(skipped) {}

ConfigROMAccessor* RomImageBus::createAccessor(unsigned port, unsigned nodeId) {
    if (port == ConfigROMContext::AllPorts)
        return new PortListAccessor(ports_);
    if (port >= ports_.size())
        return new ConfigROMAccessor(port, 0, false);
    if (nodeId == 0)
        return new ConfigROMAccessor(port, 0, true);
    const std::vector<RomNode>& nodes = ports_[port].nodes;
    const unsigned node = nodeId & PhysicalIdMask;
    if ((nodeId & ~PhysicalIdMask) != LocalBusMask || node >= nodes.size())
        return new ConfigROMAccessor(port, 0, false);
    return new RomImageAccessor(port, nodes[node]);
}

RomImageAccessor::RomImageAccessor(unsigned port, const RomNode& node)
    : ConfigROMAccessor(port, node.guid, node.accessible), rom_(node.rom) {
    if (rom_.size() > MaxRomSize)
        rom_.resize(MaxRomSize);
}

unsigned RomImageAccessor::readBlock(unsigned offset, unsigned length, void* buffer) {
    // Offsets and lengths are compared in 64 bits, so that offset + length cannot wrap.
    const uint64_t size = rom_.size();
    if (!isAccessible() || length == 0 || buffer == nullptr || offset >= size)
        return 0;
    const uint64_t count = std::min<uint64_t>(length, size - offset);
    std::memcpy(buffer, rom_.data() + offset, count);
    return static_cast<unsigned>(count);
}

PortListAccessor::PortListAccessor(const std::vector<RomPort>& ports)
    : ConfigROMAccessor(ConfigROMContext::AllPorts, 0, true) {
    for (const RomPort& port : ports) {
        port_info_t info;
        info.text = port.text;
        info.nodeCount = static_cast<uint32_t>(port.nodes.size());
        for (const RomNode& node : port.nodes)
            info.nodeGuids.append(node.guid);
        ports_.append(info);
    }
}

bool PortListAccessor::getPortInfo(zul::Array<port_info_t>& ports) {
    for (const port_info_t& port : ports_)
        ports.append(port);
    return true;
}

void swapQuadlets(std::vector<uint8_t>& bytes) {
    for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
        std::swap(bytes[i], bytes[i + 3]);
        std::swap(bytes[i + 1], bytes[i + 2]);
    }
}

uint64_t guidOfRom(const std::vector<uint8_t>& rom) {
    constexpr size_t GuidOffset = 12;
    constexpr size_t GuidEnd = 20;
    if (rom.size() < GuidEnd)
        return 0;
    uint64_t guid = 0;
    for (size_t i = GuidOffset; i < GuidEnd; ++i)
        guid = guid << 8 | rom[i];
    return guid;
}

} // namespace lib1394
