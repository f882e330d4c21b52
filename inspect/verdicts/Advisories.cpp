#include "inspect/verdicts/Advisories.h"

#include "inspect/io/Format.h"
#include "inspect/rom/Records.h"
#include "inspect/verdicts/Explanations.h"
#include "lib1394/KernelCopy.h"

#include <set>

namespace rombus {
namespace {

using decode::BlockKind;
using decode::DecodedRom;
using decode::RomBlock;
using decode::RomEntry;

constexpr uint8_t Eui64Key = 0x8D;
constexpr unsigned CheckingLevel = 2; // the CRC level at which the module stops at a wrong CRC
constexpr unsigned MaxCycleClockAccuracy = 100;

// The blocks whose CRC the module checked and found wrong: its records give the offset of the
// first quadlet each CRC covers.
std::set<uint32_t> checkedBlocks(const libRombus::Messages& records) {
    std::set<uint32_t> blocks;
    for (const auto& record : records)
        if (recordId(record) == "CRCCheckFailed")
            if (const auto offset = concernedOffset(record))
                blocks.insert(*offset);
    return blocks;
}

// A wrong CRC the module did not record: at --crc-level 2 it did not read the block (it stops
// below the first wrong CRC it finds); at a lower level it checked the block and recorded no
// problem for it (a directory or leaf at levels 0 and 1, the bus information block at level 0).
// A cause every wrong CRC shares is said once for the ROM, not per block.
std::string uncheckedText(const DecodedRom& decoded, const RomBlock& block, unsigned crcLevel,
                          bool sharedCause) {
    std::string text = format("the CRC %04Xh of %s at %Xh is wrong, it should be %04Xh; ",
                              block.storedCrc, blockName(block), block.offset, block.crc);
    text += crcLevel >= CheckingLevel
                ? std::string("the module did not read this block")
                : format("the module checked it and records no problem for it at --crc-level %u",
                         crcLevel);
    const CrcCause cause = crcCauseOf(decoded, block);
    return cause.known() && !sharedCause ? text + ". Cause: " + cause.text : text;
}

void crcAdvisories(const DecodedRom& decoded, const libRombus::Messages& records, unsigned crcLevel,
                   std::vector<Advisory>& out) {
    const std::set<uint32_t> checked = checkedBlocks(records);
    const bool sharedCause = !sharedCrcCause(decoded).empty();
    for (const RomBlock& block : decoded.blocks) {
        if (!block.complete())
            out.push_back(
                {block.offset, "past-end",
                 format("%s at %Xh declares %u quadlets; the ROM holds %u of them",
                        blockName(block), block.offset, block.declared, block.available)});
        else if (block.reversedOnly())
            out.push_back({block.offset, "reversed-crc",
                           format("the CRC %04Xh of %s at %Xh matches its quadlets only with their "
                                  "bytes reversed (a byte-order bug); over the quadlets as stored "
                                  "it should be %04Xh",
                                  block.storedCrc, blockName(block), block.offset, block.crc)});
        else if (!block.crcOk() && !checked.count(block.offset))
            out.push_back({block.offset, "unchecked-crc",
                           uncheckedText(decoded, block, crcLevel, sharedCause)});
    }
}

// A block's end: the offset after the last quadlet its header declares.
uint64_t endOf(const RomBlock& block) {
    return block.offset + 4 * (uint64_t{block.declared} + 1);
}

// Directories and leaves whose declared length runs into the next block, which then has two
// meanings.
void overlapAdvisories(const DecodedRom& decoded, std::vector<Advisory>& out) {
    const RomBlock* previous = nullptr;
    for (const RomBlock& block : decoded.blocks) {
        if (block.kind == BlockKind::BusInfo)
            continue;
        if (previous && endOf(*previous) > block.offset)
            out.push_back({block.offset, "block-overlap",
                           format("%s at %Xh declares %u quadlets, up to %llXh: %s at %Xh lies "
                                  "inside it, so its quadlets have two meanings",
                                  blockName(*previous), previous->offset, previous->declared,
                                  static_cast<unsigned long long>(endOf(*previous)),
                                  blockName(block), block.offset)});
        if (!previous || endOf(block) > endOf(*previous))
            previous = &block;
    }
}

uint64_t guidAt(const DecodedRom& decoded, uint32_t offset) {
    const auto high = decode::quadletAt(decoded.rom, offset);
    const auto low = decode::quadletAt(decoded.rom, offset + 4);
    return high && low ? uint64_t{*high} << 32 | *low : 0;
}

void findEui64(const DecodedRom& decoded, const std::vector<RomEntry>& entries,
               std::vector<Advisory>& out) {
    const uint64_t guid = guidAt(decoded, 12);
    for (const RomEntry& entry : entries) {
        findEui64(decoded, entry.children, out);
        if (entry.key != Eui64Key || !entry.target || entry.repeated)
            continue;
        const uint64_t eui64 = guidAt(decoded, *entry.target + 4);
        if (eui64 != guid)
            out.push_back({*entry.target, "eui64-mismatch",
                           format("the EUI-64 leaf holds %016llX; the bus information block's GUID "
                                  "is %016llX",
                                  static_cast<unsigned long long>(eui64),
                                  static_cast<unsigned long long>(guid))});
    }
}

void busOptionAdvisories(const DecodedRom& decoded, std::vector<Advisory>& out) {
    const auto options = decode::busOptionsOf(decoded.rom);
    const auto quadlet = decode::quadletAt(decoded.rom, 8);
    if (!options || !quadlet)
        return;
    const auto flag = [&out](const std::string& text) {
        out.push_back({8, "reserved-bus-option", text});
    };
    if (*quadlet & 0x07000C08)
        flag(format("reserved bits of the bus options are set (%08Xh)", *quadlet & 0x07000C08));
    // The accuracy means something only on a node that can be cycle master, whose clock IEEE 1394
    // holds within 100 ppm.
    if (options->cmc && options->cycClkAcc > MaxCycleClockAccuracy)
        flag(format("cyc_clk_acc %u on a cycle master capable node (cmc 1): IEEE 1394 holds a "
                    "cycle master's clock within 100 ppm, so 0 to 100 are its values",
                    options->cycClkAcc));
    if (options->maxRec == 0 || options->maxRec > 13)
        flag(format("max_rec %u is reserved: 1 to 13 (4 to 16384 bytes) are defined",
                    options->maxRec));
    if (options->maxRom == 3)
        flag("max_ROM 3 is reserved");
    if (options->linkSpeed > 5)
        flag(format("link_spd %u is reserved: 0 to 5 (S100 to S3200) are defined",
                    options->linkSpeed));
}

// Where the ROM read live from the device and the kernel's copy of it disagree. What the kernel
// left out or zeroed is how it keeps its copy, worth knowing; a quadlet that holds another value
// in each means the ROM changed since the kernel read it, or was read wrong by one of them.
void kernelCopyAdvisories(const lib1394::RomNode& node, std::vector<Advisory>& out) {
    if (node.kernelRom.empty())
        return;
    for (const lib1394::RomDifference& difference :
         lib1394::compareKernelCopy(node.rom, node.kernelRom))
        out.push_back({difference.offset, "kernel-copy-" + difference.kind, difference.text,
                       difference.kind == "changed" ? Severity::Advisory : Severity::Note});
}

} // namespace

const char* severityName(Severity severity) {
    return severity == Severity::Advisory ? "advisory" : "note";
}

std::vector<Advisory> advisoriesOf(const decode::DecodedRom& decoded, const lib1394::RomNode& node,
                                   const libRombus::Messages& records, unsigned crcLevel) {
    std::vector<Advisory> out;
    if (decoded.rom.size() < 4)
        return out;
    crcAdvisories(decoded, records, crcLevel, out);
    overlapAdvisories(decoded, out);
    findEui64(decoded, decoded.root, out);
    const uint64_t romGuid = guidAt(decoded, 12);
    if (node.guid != 0 && romGuid != 0 && node.guid != romGuid)
        out.push_back({12, "sysfs-guid-mismatch",
                       format("the guid file says %016llX; the ROM's GUID is %016llX",
                              static_cast<unsigned long long>(node.guid),
                              static_cast<unsigned long long>(romGuid)),
                       Severity::Note});
    busOptionAdvisories(decoded, out);
    kernelCopyAdvisories(node, out);
    return out;
}

} // namespace rombus
