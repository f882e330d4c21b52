#include "inspect/Advisories.h"

#include "inspect/Format.h"
#include "inspect/Records.h"
#include "inspect/UnitTypes.h"

#include <set>

namespace rombus {
namespace {

using decode::BlockKind;
using decode::DecodedRom;
using decode::RomBlock;
using decode::RomEntry;

constexpr uint8_t Eui64Key = 0x8D;
constexpr uint8_t DependentDirectoryKey = 0xD4;

const char* blockName(const RomBlock& block) {
    switch (block.kind) {
    case BlockKind::BusInfo:
        return "the bus information block";
    case BlockKind::Directory:
        return "the directory";
    default:
        return "the leaf";
    }
}

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

void crcAdvisories(const DecodedRom& decoded, const libRombus::Messages& records,
                   std::vector<Advisory>& out) {
    const std::set<uint32_t> checked = checkedBlocks(records);
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
                           format("the CRC %04Xh of %s at %Xh is wrong, it should be %04Xh; the "
                                  "module did not check it",
                                  block.storedCrc, blockName(block), block.offset, block.crc)});
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
    if (options->cycClkAcc > 100)
        flag(format("cyc_clk_acc %u is not an accuracy: 0 to 100 ppm are defined",
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

// Entries of a unit-dependent directory that the IEEE 1212 rules refuse where a unit
// architecture puts them, for the versions first to last of the architecture.
struct ArchitectureEntry {
    uint32_t specifierId;
    uint32_t firstVersion, lastVersion;
    uint8_t key;
    const char* name;
};

// The IIDC standard for 1394-based digital cameras, versions 1.04 to 1.30: the camera's register
// base as a CSR offset, and its model name leaf under key 82h.
const ArchitectureEntry architectureEntries[] = {
    {0x00A02D, 0x000100, 0x000102, 0x40, "command_regs_base"},
    {0x00A02D, 0x000100, 0x000102, 0x82, "model_name_leaf"},
};

// The directories the module refused an entry of, by the ROM offset of their headers.
std::set<uint32_t> refusedDirectories(const libRombus::Messages& records) {
    std::set<uint32_t> directories;
    for (const auto& record : records)
        if (recordId(record) == "DirectoryEntryNotPermitted")
            if (const auto offset = recordOffset(record, "dir_name"))
                directories.insert(*offset);
    return directories;
}

void architectureAdvisories(const DecodedRom& decoded, const libRombus::Messages& records,
                            std::vector<Advisory>& out) {
    const std::set<uint32_t> refused = refusedDirectories(records);
    for (const decode::UnitIds& unit : decoded.units) {
        const char* protocol = decode::unitProtocol(unit.specifier, unit.version);
        for (const RomEntry& entry : decoded.root) {
            if (entry.target != unit.directory)
                continue;
            for (const RomEntry& dependent : entry.children) {
                if (dependent.key != DependentDirectoryKey ||
                    !refused.count(dependent.target.value_or(0)))
                    continue;
                for (const RomEntry& refusedEntry : dependent.children)
                    for (const ArchitectureEntry& known : architectureEntries)
                        if (known.specifierId == unit.specifier &&
                            unit.version >= known.firstVersion &&
                            unit.version <= known.lastVersion && known.key == refusedEntry.key)
                            out.push_back({refusedEntry.offset, "architecture-entry",
                                           format("key %02Xh is %s, defined by %s", known.key,
                                                  known.name, protocol)});
            }
        }
    }
}

} // namespace

std::vector<Advisory> advisoriesOf(const decode::DecodedRom& decoded, const lib1394::RomNode& node,
                                   const libRombus::Messages& records) {
    std::vector<Advisory> out;
    if (decoded.rom.size() < 4)
        return out;
    crcAdvisories(decoded, records, out);
    findEui64(decoded, decoded.root, out);
    const uint64_t romGuid = guidAt(decoded, 12);
    if (node.guid != 0 && romGuid != 0 && node.guid != romGuid)
        out.push_back({12, "sysfs-guid-mismatch",
                       format("the guid file says %016llX; the ROM's GUID is %016llX",
                              static_cast<unsigned long long>(node.guid),
                              static_cast<unsigned long long>(romGuid))});
    busOptionAdvisories(decoded, out);
    architectureAdvisories(decoded, records, out);
    return out;
}

} // namespace rombus
