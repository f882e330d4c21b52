#include "inspect/lifecycle/RomDiff.h"

#include "inspect/io/Format.h"

#include <algorithm>
#include <map>
#include <optional>

namespace rombus {
namespace {

using decode::DecodedRom;
using decode::RomBlock;
using decode::RomEntry;

constexpr unsigned ImmediateType = 0, CsrOffsetType = 1, DirectoryType = 3;
constexpr uint8_t MinimalInfoLength = 1;
constexpr uint32_t BusInfoQuadlets = 5;
const char* const busOptionNames[] = {"irmc",       "cmc",         "isc",     "bmc",
                                      "pmc",        "cyc_clk_acc", "max_rec", "max_rom",
                                      "generation", "link_spd"};

// One thing a ROM says, by path and aspect, as the diff shows it.
struct Item {
    std::string path, aspect, value;
};

class Flattener {
public:
    Flattener(const DecodedRom& rom, bool layout) : rom_(rom), layout_(layout) {
        for (const RomBlock& block : rom.blocks)
            blocks_.emplace(block.offset, &block);
        busInfo();
        if (const RomBlock* root = blockAt(decode::RootDirectoryOffset))
            add("root", "crc", crcOf(*root));
        entries(rom.root);
    }

    std::vector<Item> items;

private:
    void add(const std::string& path, const std::string& aspect, const std::string& value) {
        items.push_back({path, aspect, value});
    }

    const RomBlock* blockAt(uint32_t offset) const {
        const auto found = blocks_.find(offset);
        return found == blocks_.end() ? nullptr : found->second;
    }

    void busInfo() {
        const auto first = decode::quadletAt(rom_.rom, 0);
        if (!first)
            return;
        add("bus/info_length", "value", format("%u", *first >> 24));
        if (*first >> 24 == MinimalInfoLength) {
            add("bus/vendor_id", "value", format("%06Xh", *first & 0xFFFFFF));
            return;
        }
        add("bus/crc_length", "value", format("%u", *first >> 16 & 0xFF));
        if (!rom_.blocks.empty())
            add("bus", "crc", crcOf(rom_.blocks[0]));
        if (rom_.rom.size() >= 8)
            add("bus/bus_name", "value",
                "\"" + std::string(rom_.rom.begin() + 4, rom_.rom.begin() + 8) + "\"");
        if (const auto options = decode::busOptionsOf(rom_.rom)) {
            const unsigned fields[] = {options->irmc,     options->cmc,    options->isc,
                                       options->bmc,      options->pmc,    options->cycClkAcc,
                                       options->maxRec,   options->maxRom, options->generation,
                                       options->linkSpeed};
            for (size_t i = 0; i < std::size(fields); ++i)
                add(std::string("bus/") + busOptionNames[i], "value", format("%u", fields[i]));
        }
        const auto high = decode::quadletAt(rom_.rom, 12), low = decode::quadletAt(rom_.rom, 16);
        if (high && low)
            add("guid", "value", format("%08X%08Xh", *high, *low));
    }

    void entries(const std::vector<RomEntry>& list) {
        for (const RomEntry& entry : list) {
            add(entry.path, "value", valueOf(entry));
            const RomBlock* block =
                entry.target && !entry.repeated ? blockAt(*entry.target) : nullptr;
            if (block) {
                add(entry.path, "crc", crcOf(*block));
                if (layout_)
                    add(entry.path, "offset", format("%Xh", block->offset));
            }
            entries(entry.children);
        }
    }

    // A right CRC is told as such, so that a block whose contents changed with its CRC kept
    // right shows its contents only; a wrong one by its value and the right one.
    static std::string crcOf(const RomBlock& block) {
        if (!block.complete())
            return format("%04Xh, not known", block.storedCrc);
        return block.crcOk() ? "ok" : format("%04Xh, not %04Xh", block.storedCrc, block.crc);
    }

    std::string valueOf(const RomEntry& entry) const {
        if (entry.type() == ImmediateType)
            return format("%06Xh", entry.value);
        if (entry.type() == CsrOffsetType)
            return format("CSR offset %06Xh", entry.value);
        if (entry.repeated || !blockAt(*entry.target))
            return format("-> %Xh, %s", *entry.target,
                          entry.repeated ? "shown before" : "outside the ROM");
        if (entry.type() == DirectoryType)
            return format("directory of %zu entries", entry.children.size());
        if (entry.text)
            return "\"" + *entry.text + "\"";
        return leafQuadlets(*blockAt(*entry.target));
    }

    std::string leafQuadlets(const RomBlock& block) const {
        std::string text = "leaf";
        for (uint32_t i = 0; i < block.available; ++i)
            text += format(" %08X", *decode::quadletAt(rom_.rom, block.offset + 4 + 4 * i));
        return text;
    }

    const DecodedRom& rom_;
    bool layout_;
    std::map<uint32_t, const RomBlock*> blocks_;
};

std::string keyOf(const Item& item) {
    return item.path + '\n' + item.aspect;
}

// Per quadlet of a ROM, the offset of the block that holds it; none for a quadlet outside every
// block. The bus information block holds its fields alone: the quadlets its CRC covers beyond
// them are other blocks' or none.
std::vector<std::optional<uint32_t>> holders(const DecodedRom& rom) {
    std::vector<std::optional<uint32_t>> held((rom.rom.size() + 3) / 4);
    for (const RomBlock& block : rom.blocks) {
        const uint32_t count =
            block.kind == decode::BlockKind::BusInfo ? BusInfoQuadlets : 1 + block.available;
        for (uint32_t q = block.offset / 4; q < block.offset / 4 + count && q < held.size(); ++q)
            if (!held[q])
                held[q] = block.offset;
    }
    return held;
}

// The bytes of the quadlet at q, as many as the ROM holds, in hexadecimal; empty past its end.
std::string quadletBytes(const std::vector<uint8_t>& rom, size_t q) {
    std::string text;
    for (size_t at = 4 * q; at < rom.size() && at < 4 * q + 4; ++at)
        text += format("%02X", rom[at]);
    return text;
}

// The quadlets that differ where the structure does not tell it: outside every block always,
// and inside a block when the structure showed no change at all (text bytes after the NUL, a
// leaf's quadlets a ROM does not read). Each is one change of aspect "bytes".
void addByteChanges(const DecodedRom& a, const DecodedRom& b, std::vector<RomChange>& changes) {
    const bool structureSame = changes.empty();
    const auto heldA = holders(a), heldB = holders(b);
    const size_t count = std::max(heldA.size(), heldB.size());
    for (size_t q = 0; q < count; ++q) {
        const std::string before = quadletBytes(a.rom, q), after = quadletBytes(b.rom, q);
        if (before == after)
            continue;
        const std::optional<uint32_t> holder = q < heldA.size() && heldA[q] ? heldA[q]
                                               : q < heldB.size()           ? heldB[q]
                                                                            : std::nullopt;
        if (holder && !structureSame)
            continue;
        const std::string where = holder ? format(", in the block at %Xh", *holder)
                                         : std::string(", outside every block");
        const RomChange::Kind kind = before.empty()  ? RomChange::Added
                                     : after.empty() ? RomChange::Removed
                                                     : RomChange::Changed;
        changes.push_back({kind, format("rom/%zXh", 4 * q), "bytes",
                           before.empty() ? "" : before + where,
                           after.empty() ? "" : after + where});
    }
}

} // namespace

namespace {

// The differences of structure: entries and fields by path, and offsets when layout is set.
std::vector<RomChange> structuralChanges(const DecodedRom& a, const DecodedRom& b, bool layout) {
    const std::vector<Item> before = Flattener(a, layout).items;
    const std::vector<Item> after = Flattener(b, layout).items;
    std::map<std::string, size_t> inBefore;
    for (size_t i = 0; i < before.size(); ++i)
        inBefore.emplace(keyOf(before[i]), i);
    // Which items of a b holds too: the others are removed.
    std::vector<bool> kept(before.size(), false);
    for (const Item& item : after)
        if (const auto found = inBefore.find(keyOf(item)); found != inBefore.end())
            kept[found->second] = true;
    std::vector<RomChange> changes;
    size_t shown = 0; // the items of a up to here are told
    auto removedUpTo = [&](size_t end) {
        for (; shown < end; ++shown)
            if (!kept[shown])
                changes.push_back({RomChange::Removed, before[shown].path, before[shown].aspect,
                                   before[shown].value, ""});
    };
    for (const Item& item : after) {
        const auto found = inBefore.find(keyOf(item));
        if (found == inBefore.end()) {
            changes.push_back({RomChange::Added, item.path, item.aspect, "", item.value});
            continue;
        }
        removedUpTo(found->second);
        if (before[found->second].value != item.value)
            changes.push_back({RomChange::Changed, item.path, item.aspect,
                               before[found->second].value, item.value});
    }
    removedUpTo(before.size());
    return changes;
}

} // namespace

std::vector<RomChange> diffRoms(const DecodedRom& a, const DecodedRom& b, bool layout) {
    std::vector<RomChange> changes = structuralChanges(a, b, layout);
    // Blocks that moved and nothing else: told by their offsets, the one difference there is.
    if (changes.empty() && !layout && a.rom != b.rom)
        changes = structuralChanges(a, b, true);
    addByteChanges(a, b, changes);
    return changes;
}

const char* changeKindName(RomChange::Kind kind) {
    static const char* const names[] = {"changed", "added", "removed"};
    return names[kind];
}

} // namespace rombus
