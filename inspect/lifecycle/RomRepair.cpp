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

// A block covers only quadlets after its header, so correcting the blocks from the last to the
// first leaves each CRC right once made: any block that covers it comes later. A CRC that is
// also an entry of a directory changes where that entry leads, and the blocks are found again;
// these passes settle any ROM but one whose corrections keep moving its blocks, which is told.
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

// The CRC of the quadlets a complete block covers, as the ROM holds them now.
uint16_t crcNow(const std::vector<uint8_t>& rom, const RomBlock& block) {
    std::vector<uint32_t> covered;
    for (uint32_t i = 0; i < block.declared; ++i)
        covered.push_back(*decode::quadletAt(rom, block.offset + 4 + 4 * i));
    return decode::crc16(covered);
}

// One pass over the blocks, the last first: true when a CRC was changed.
bool correctCrcs(RomRepair& repair, std::map<uint32_t, Correction>& corrections) {
    const decode::DecodedRom decoded = decode::decodeRom(repair.rom);
    std::map<uint32_t, std::string> paths;
    pathsOf(decoded.root, paths);
    std::vector<const RomBlock*> blocks;
    for (const RomBlock& block : decoded.blocks)
        if (block.complete())
            blocks.push_back(&block);
    std::sort(blocks.begin(), blocks.end(),
              [](const RomBlock* a, const RomBlock* b) { return a->offset > b->offset; });
    bool changed = false;
    for (const RomBlock* block : blocks) {
        const uint32_t header = *decode::quadletAt(repair.rom, block->offset);
        const uint16_t crc = crcNow(repair.rom, *block);
        if ((header & 0xFFFF) == crc)
            continue;
        setQuadlet(repair.rom, block->offset, (header & 0xFFFF0000) | crc);
        corrections.try_emplace(block->offset,
                                Correction{blockName(*block, paths), uint16_t(header & 0xFFFF)});
        corrections[block->offset].after = crc;
        changed = true;
    }
    return changed;
}

// Tells the blocks whose CRC could not be made right: those that run past the ROM, and those
// whose CRC is still wrong when the passes did not settle.
void tellLeft(RomRepair& repair) {
    const decode::DecodedRom decoded = decode::decodeRom(repair.rom);
    std::map<uint32_t, std::string> paths;
    pathsOf(decoded.root, paths);
    for (const RomBlock& block : decoded.blocks) {
        if (!block.complete())
            repair.left.push_back(
                blockName(block, paths) +
                format(
                    ": its CRC is left as it is; it covers %u quadlets, the ROM holds %u of them",
                    block.declared, block.available));
        else if (!block.crcOk())
            repair.left.push_back(
                blockName(block, paths) +
                format(": its CRC %04Xh is still not %04Xh; each correction moved the blocks "
                       "that entries holding CRCs lead to",
                       block.storedCrc, block.crc));
    }
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
