#include "inspect/rom/RomDecoder.h"

#include "inspect/rom/KeyNames.h"

#include <algorithm>
#include <map>

namespace rombus::decode {
namespace {

constexpr unsigned LeafType = 2;
constexpr unsigned DirectoryType = 3;
constexpr uint8_t MinimalInfoLength = 1;

uint32_t reversed(uint32_t quadlet) {
    return quadlet >> 24 | (quadlet >> 8 & 0xFF00) | (quadlet << 8 & 0xFF0000) | quadlet << 24;
}

// A block's CRC figures over the quadlets after its header that the image holds.
RomBlock measure(const std::vector<uint8_t>& rom, uint32_t offset, uint32_t declared) {
    RomBlock block;
    block.offset = offset;
    block.declared = declared;
    block.storedCrc = static_cast<uint16_t>(*quadletAt(rom, offset));
    std::vector<uint32_t> covered, swapped;
    for (uint32_t i = 0; i < declared; ++i) {
        const auto quadlet = quadletAt(rom, offset + 4 + 4 * i);
        if (!quadlet)
            break;
        covered.push_back(*quadlet);
        swapped.push_back(reversed(*quadlet));
    }
    block.available = static_cast<uint32_t>(covered.size());
    block.crc = crc16(covered);
    block.reversedCrc = crc16(swapped);
    return block;
}

// The blocks the entries reach, each once, by the first entry that reached it.
void collect(const std::vector<uint8_t>& rom, const std::vector<RomEntry>& entries,
             std::map<uint32_t, RomBlock>& blocks) {
    for (const RomEntry& entry : entries) {
        if (!entry.target || entry.repeated || !quadletAt(rom, *entry.target))
            continue;
        RomBlock block = measure(rom, *entry.target, *quadletAt(rom, *entry.target) >> 16);
        block.kind = entry.type() == LeafType ? BlockKind::Leaf : BlockKind::Directory;
        block.key = entry.key;
        block.firstEntry = entry.offset;
        blocks.emplace(block.offset, block);
        collect(rom, entry.children, blocks);
    }
}

// Gives each entry its path below the directory at parent.
void namePaths(std::vector<RomEntry>& entries, const std::string& parent) {
    std::map<std::string, unsigned> seen;
    for (RomEntry& entry : entries) {
        const std::string name = rombus::keyToken(entry.key);
        const unsigned index = seen[name]++;
        entry.path = parent + "/" + name;
        if (index > 0 || entry.type() == DirectoryType)
            entry.path += "[" + std::to_string(index) + "]";
        namePaths(entry.children, entry.path);
    }
}

} // namespace

uint16_t crc16(const std::vector<uint32_t>& quadlets) {
    uint16_t crc = 0;
    for (uint32_t quadlet : quadlets)
        for (int bit = 31; bit >= 0; --bit) {
            const bool feedback = ((crc >> 15) ^ (quadlet >> bit)) & 1;
            crc = static_cast<uint16_t>(crc << 1) ^ (feedback ? 0x1021 : 0);
        }
    return crc;
}

DecodedRom decodeRom(const std::vector<uint8_t>& rom) {
    DecodedRom decoded;
    decoded.rom = rom;
    // A minimal ROM (info_length 1) is one quadlet: the company id, no block and no CRC.
    if (!quadletAt(rom, 0) || rom[0] == MinimalInfoLength)
        return decoded;
    std::map<uint32_t, RomBlock> blocks;
    RomBlock bus = measure(rom, 0, *quadletAt(rom, 0) >> 16 & 0xFF);
    bus.kind = BlockKind::BusInfo;
    blocks.emplace(0, bus);
    if (quadletAt(rom, RootDirectoryOffset)) {
        RomBlock root =
            measure(rom, RootDirectoryOffset, *quadletAt(rom, RootDirectoryOffset) >> 16);
        root.kind = BlockKind::Directory;
        root.key = 0xC0;
        root.firstEntry = RootDirectoryOffset;
        blocks.emplace(RootDirectoryOffset, root);
    }
    decoded.root = walkRoot(rom);
    namePaths(decoded.root, "root");
    decoded.units = unitsOf(rom);
    collect(rom, decoded.root, blocks);
    for (const auto& [offset, block] : blocks)
        decoded.blocks.push_back(block);
    return decoded;
}

} // namespace rombus::decode
