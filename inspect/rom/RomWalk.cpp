#include "inspect/rom/RomWalk.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace rombus::decode {
namespace {

enum KeyType : unsigned { Immediate = 0, CsrOffset = 1, Leaf = 2, Directory = 3 };
enum KeyId : unsigned {
    DescriptorId = 0x01,
    BusDependentInfoId = 0x02,
    VendorId = 0x03,
    UnitId = 0x11,
    SpecifierId = 0x12,
    VersionId = 0x13,
    ModelId = 0x17,
    KeywordId = 0x19,
};
constexpr uint8_t UnitDirectoryKey = 0xD1;
constexpr uint8_t InstanceDirectoryKey = 0xD8;
constexpr uint8_t VendorDirectoryKey = 0xC3;
// IIDC's unit-dependent directory (key D4h) holds its model name in a leaf of key 82h, laid out
// as a textual descriptor; IEEE 1212 gives key id 02h no meaning of its own there.
constexpr uint8_t DependentDirectoryKey = 0xD4;
// How deep directories may nest: as many levels as a ROM has quadlets. Each block is read once,
// and a directory takes at least one quadlet, so no ROM of the largest size is ever cut; the
// bound only keeps a larger image from nesting the walk without end.
constexpr unsigned MaxDepth = 256;

// The number of quadlets a block's header declares, cut to what the image holds after it.
uint32_t availableLength(const std::vector<uint8_t>& rom, uint32_t offset) {
    const std::optional<uint32_t> header = quadletAt(rom, offset);
    if (!header)
        return 0;
    const uint64_t inImage = (rom.size() - offset - 4) / 4;
    return static_cast<uint32_t>(std::min<uint64_t>(*header >> 16, inImage));
}

// The text of a textual descriptor leaf in minimal ASCII (descriptor type 0, specifier id 0,
// width, character set and language 0), up to the first NUL.
std::optional<std::string> leafText(const std::vector<uint8_t>& rom, uint32_t offset) {
    const uint32_t length = availableLength(rom, offset);
    if (length < 2 || quadletAt(rom, offset + 4) != 0u || quadletAt(rom, offset + 8) != 0u)
        return std::nullopt;
    std::string text;
    for (uint32_t at = offset + 12; at < offset + 4 + 4 * length && rom[at] != 0; ++at)
        text += static_cast<char>(rom[at]);
    return text;
}

// The keywords of a keyword leaf: ASCII strings, each ended by a NUL, padded with NULs.
std::vector<std::string> leafKeywords(const std::vector<uint8_t>& rom, uint32_t offset) {
    std::vector<std::string> keywords(1);
    const uint32_t end = offset + 4 + 4 * availableLength(rom, offset);
    for (uint32_t at = offset + 4; at < end; ++at) {
        if (rom[at] != 0)
            keywords.back() += static_cast<char>(rom[at]);
        else if (!keywords.back().empty())
            keywords.emplace_back();
    }
    if (keywords.back().empty())
        keywords.pop_back();
    return keywords;
}

bool isTextLeaf(uint8_t key, uint8_t directoryKey) {
    const unsigned id = key & 0x3Fu;
    return id == DescriptorId ||
           (id == BusDependentInfoId && directoryKey == DependentDirectoryKey);
}

class Walker {
public:
    explicit Walker(const std::vector<uint8_t>& rom) : rom_(rom) {}

    std::vector<RomEntry> directory(uint32_t offset, uint8_t directoryKey, unsigned depth) {
        std::vector<RomEntry> entries;
        const uint32_t length = availableLength(rom_, offset);
        for (uint32_t i = 0; i < length; ++i)
            entries.push_back(entry(offset + 4 + 4 * i, directoryKey, depth));
        return entries;
    }

    // A block is read the first time it is reached; afterwards only named.
    bool firstVisit(uint32_t offset) { return seen_.insert(offset).second; }

private:
    RomEntry entry(uint32_t offset, uint8_t directoryKey, unsigned depth) {
        RomEntry entry;
        const uint32_t quadlet = *quadletAt(rom_, offset);
        entry.offset = offset;
        entry.key = static_cast<uint8_t>(quadlet >> 24);
        entry.value = quadlet & 0xFFFFFF;
        if (entry.type() != Leaf && entry.type() != Directory)
            return entry;
        const uint64_t target = uint64_t{offset} + 4 * uint64_t{entry.value};
        entry.target = static_cast<uint32_t>(target);
        if (target + 4 > rom_.size())
            return entry;
        entry.repeated = !firstVisit(*entry.target);
        if (entry.repeated)
            return entry;
        if (entry.type() == Directory && depth < MaxDepth)
            entry.children = directory(*entry.target, entry.key, depth + 1);
        else if (entry.type() == Leaf && isTextLeaf(entry.key, directoryKey))
            entry.text = leafText(rom_, *entry.target);
        else if (entry.type() == Leaf && entry.keyId() == KeywordId)
            entry.keywords = leafKeywords(rom_, *entry.target);
        return entry;
    }

    const std::vector<uint8_t>& rom_;
    std::set<uint32_t> seen_;
};

// The ROM offsets of a directory's entries that have a key.
std::vector<uint32_t> entriesWithKey(const std::vector<uint8_t>& rom, uint32_t directory,
                                     uint8_t key) {
    std::vector<uint32_t> found;
    for (const auto& [offset, quadlet] : directoryEntries(rom, directory))
        if (quadlet >> 24 == key)
            found.push_back(offset);
    return found;
}

// The ROM offset an entry's value points at.
uint32_t targetOf(const std::vector<uint8_t>& rom, uint32_t entry) {
    return static_cast<uint32_t>(
        std::min<uint64_t>(entry + 4 * uint64_t{*quadletAt(rom, entry) & 0xFFFFFF}, UINT32_MAX));
}

void takeIds(const std::vector<uint8_t>& rom, uint32_t offset, UnitIds& ids) {
    for (const auto& [entry, quadlet] : directoryEntries(rom, offset)) {
        const uint32_t value = quadlet & 0xFFFFFF;
        switch (quadlet >> 24) {
        case VendorId:
            ids.vendor = value;
            break;
        case ModelId:
            ids.model = value;
            break;
        case SpecifierId:
            ids.specifier = value;
            ids.specifierEntry = entry;
            break;
        case VersionId:
            ids.version = value;
            break;
        }
    }
}

} // namespace

std::vector<std::pair<uint32_t, uint32_t>> directoryEntries(const std::vector<uint8_t>& rom,
                                                            uint32_t directory) {
    std::vector<std::pair<uint32_t, uint32_t>> entries;
    const uint32_t length = availableLength(rom, directory);
    for (uint32_t i = 0; i < length; ++i)
        entries.emplace_back(directory + 4 + 4 * i, *quadletAt(rom, directory + 4 + 4 * i));
    return entries;
}

std::optional<uint32_t> quadletAt(const std::vector<uint8_t>& rom, uint32_t offset) {
    if (uint64_t{offset} + 4 > rom.size())
        return std::nullopt;
    return uint32_t{rom[offset]} << 24 | uint32_t{rom[offset + 1]} << 16 |
           uint32_t{rom[offset + 2]} << 8 | rom[offset + 3];
}

std::vector<RomEntry> walkRoot(const std::vector<uint8_t>& rom) {
    Walker walker(rom);
    walker.firstVisit(RootDirectoryOffset);
    return walker.directory(RootDirectoryOffset, 0xC0, 0);
}

std::vector<UnitIds> unitsOf(const std::vector<uint8_t>& rom) {
    UnitIds base;
    takeIds(rom, RootDirectoryOffset, base);
    const std::vector<uint32_t> vendorDirectories =
        entriesWithKey(rom, RootDirectoryOffset, VendorDirectoryKey);
    if (!vendorDirectories.empty())
        takeIds(rom, targetOf(rom, vendorDirectories.front()), base);
    std::vector<UnitIds> units;
    // A directory named again (instance directories may name the root's units, or point back
    // at the root) is one unit, listed where it was first named.
    auto addUnit = [&](uint32_t entry, bool kernelUnit) {
        const uint32_t directory = targetOf(rom, entry);
        if (!kernelUnit && std::any_of(units.begin(), units.end(), [&](const UnitIds& unit) {
                return unit.directory == directory;
            }))
            return;
        UnitIds unit = base;
        unit.directory = directory;
        unit.kernelUnit = kernelUnit;
        takeIds(rom, unit.directory, unit);
        units.push_back(unit);
    };
    for (uint32_t entry : entriesWithKey(rom, RootDirectoryOffset, UnitDirectoryKey))
        addUnit(entry, true);
    std::set<uint32_t> instances;
    for (uint32_t instance : entriesWithKey(rom, RootDirectoryOffset, InstanceDirectoryKey))
        if (instances.insert(targetOf(rom, instance)).second)
            for (uint32_t entry : entriesWithKey(rom, targetOf(rom, instance), UnitDirectoryKey))
                addUnit(entry, false);
    return units;
}

std::vector<std::string> textsBelow(const std::vector<RomEntry>& entries) {
    std::vector<std::string> texts;
    for (const RomEntry& entry : entries) {
        if (entry.text && !entry.repeated)
            texts.push_back(*entry.text);
        for (std::string& text : textsBelow(entry.children))
            texts.push_back(std::move(text));
    }
    return texts;
}

const RomEntry* firstWithKey(const std::vector<RomEntry>& directory, uint8_t key) {
    for (const RomEntry& entry : directory)
        if (entry.key == key)
            return &entry;
    return nullptr;
}

const RomEntry* entryAt(const std::vector<RomEntry>& entries, uint32_t target) {
    for (const RomEntry& entry : entries) {
        if (entry.target == target && !entry.repeated)
            return &entry;
        if (const RomEntry* below = entryAt(entry.children, target))
            return below;
    }
    return nullptr;
}

std::string modalias(const UnitIds& unit) {
    char text[64];
    std::snprintf(text, sizeof text, "ieee1394:ven%08Xmo%08Xsp%08Xver%08X", unit.vendor, unit.model,
                  unit.specifier, unit.version);
    return text;
}

std::optional<BusOptions> busOptionsOf(const std::vector<uint8_t>& rom) {
    const std::optional<uint32_t> q = quadletAt(rom, 8);
    if (!q)
        return std::nullopt;
    return BusOptions{*q >> 31,        *q >> 30 & 1,   *q >> 29 & 1,  *q >> 28 & 1,  *q >> 27 & 1,
                      *q >> 16 & 0xFF, *q >> 12 & 0xF, *q >> 8 & 0x3, *q >> 4 & 0xF, *q & 0x7};
}

} // namespace rombus::decode
