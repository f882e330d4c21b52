#include "inspect/lifecycle/RomRepair.h"

#include "inspect/io/Format.h"
#include "inspect/rom/RomDecoder.h"

#include <algorithm>
#include <map>

namespace rombus {
namespace {

using decode::BlockKind;
using decode::RomBlock;
using decode::RomEntry;

// A CRC corrected may change the quadlets another block covers; this many passes settle any
// nesting a ROM of 256 quadlets can hold.
constexpr unsigned MaxPasses = 8;
constexpr uint8_t MinimalInfoLength = 1;
constexpr uint32_t MaxCrcLength = 0xFF;

struct Correction {
    std::string block;
    uint16_t before = 0, after = 0;
};

void pathsOf(const std::vector<RomEntry>& entries, std::map<uint32_t, std::string>& paths) {
    for (const RomEntry& entry : entries) {
        paths.emplace(entry.offset, entry.path);
        pathsOf(entry.children, paths);
    }
}

std::string blockName(const RomBlock& block, const std::map<uint32_t, std::string>& paths) {
    if (block.kind == BlockKind::BusInfo)
        return "bus information block at 0h";
    const char* kind = block.kind == BlockKind::Directory ? "directory" : "leaf";
    const auto path = paths.find(block.firstEntry);
    const std::string name = block.offset == decode::RootDirectoryOffset ? "root"
                             : path != paths.end()                       ? path->second
                                                                         : "";
    return format("%s %s at %Xh", kind, name.c_str(), block.offset);
}

void setQuadlet(std::vector<uint8_t>& rom, uint32_t offset, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        rom[offset + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

// Sets crc_length to the quadlets after the first, as many as it can count.
void coverRom(RomRepair& repair) {
    const uint32_t first = *decode::quadletAt(repair.rom, 0);
    const uint32_t length = std::min<uint32_t>(repair.rom.size() / 4 - 1, MaxCrcLength);
    if ((first >> 16 & 0xFF) == length)
        return;
    setQuadlet(repair.rom, 0, (first & 0xFF00FFFF) | length << 16);
    repair.changes.push_back(
        format("bus information block at 0h: crc_length %u -> %u", first >> 16 & 0xFF, length));
}

// One pass over the blocks: true when a CRC was changed.
bool correctCrcs(RomRepair& repair, std::map<uint32_t, Correction>& corrections) {
    const decode::DecodedRom decoded = decode::decodeRom(repair.rom);
    std::map<uint32_t, std::string> paths;
    pathsOf(decoded.root, paths);
    bool changed = false;
    for (const RomBlock& block : decoded.blocks) {
        if (!block.complete() || block.crcOk())
            continue;
        const uint32_t header = *decode::quadletAt(repair.rom, block.offset);
        setQuadlet(repair.rom, block.offset, (header & 0xFFFF0000) | block.crc);
        corrections.try_emplace(block.offset, Correction{blockName(block, paths), block.storedCrc});
        corrections[block.offset].after = block.crc;
        changed = true;
    }
    return changed;
}

void tellLeft(RomRepair& repair) {
    const decode::DecodedRom decoded = decode::decodeRom(repair.rom);
    std::map<uint32_t, std::string> paths;
    pathsOf(decoded.root, paths);
    for (const RomBlock& block : decoded.blocks)
        if (!block.complete())
            repair.left.push_back(
                blockName(block, paths) +
                format(
                    ": its CRC is left as it is; it covers %u quadlets, the ROM holds %u of them",
                    block.declared, block.available));
}

} // namespace

RomRepair repairRom(const std::vector<uint8_t>& rom, bool fixCrcLength) {
    RomRepair repair;
    repair.rom = rom;
    const auto first = decode::quadletAt(rom, 0);
    if (!first || *first >> 24 == MinimalInfoLength)
        return repair;
    if (fixCrcLength)
        coverRom(repair);
    std::map<uint32_t, Correction> corrections;
    bool changed = true;
    for (unsigned pass = 0; changed && pass < MaxPasses; ++pass)
        changed = correctCrcs(repair, corrections);
    for (const auto& [offset, correction] : corrections)
        if (correction.before != correction.after)
            repair.changes.push_back(format("%s: CRC %04Xh -> %04Xh", correction.block.c_str(),
                                            correction.before, correction.after));
    tellLeft(repair);
    return repair;
}

} // namespace rombus
