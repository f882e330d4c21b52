#include "inspect/knowledge/RomNames.h"

namespace rombus::decode {
namespace {

constexpr uint8_t VendorKey = 0x03;
constexpr uint8_t ModelKey = 0x17;
constexpr uint8_t VendorDirectoryKey = 0xC3;
constexpr uint8_t UnitDirectoryKey = 0xD1;
constexpr uint8_t DependentDirectoryKey = 0xD4;
constexpr uint8_t VendorNameLeafKey = 0x81;
constexpr uint8_t ModelNameLeafKey = 0x82;

// The text of the descriptor that follows an entry of a key in a directory.
std::optional<std::string> describedBy(const std::vector<RomEntry>& directory, uint8_t key) {
    for (size_t i = 0; i + 1 < directory.size(); ++i)
        if (directory[i].key == key && directory[i + 1].text)
            return directory[i + 1].text;
    return std::nullopt;
}

// The name a unit of the root gives: the descriptor after its entry of a key, else the name
// leaf of a key in its unit-dependent directory.
std::optional<std::string> unitName(const std::vector<RomEntry>& root, uint8_t key,
                                    uint8_t leafKey) {
    for (const RomEntry& unit : root) {
        if (unit.key != UnitDirectoryKey)
            continue;
        if (auto text = describedBy(unit.children, key))
            return text;
        for (const RomEntry& dependent : unit.children)
            if (dependent.key == DependentDirectoryKey)
                for (const RomEntry& leaf : dependent.children)
                    if (leaf.key == leafKey && leaf.text)
                        return leaf.text;
    }
    return std::nullopt;
}

std::optional<std::string> nameOf(const std::vector<RomEntry>& root, uint8_t key, uint8_t leafKey) {
    if (auto text = describedBy(root, key))
        return text;
    for (const RomEntry& entry : root)
        if (entry.key == VendorDirectoryKey)
            if (auto text = describedBy(entry.children, key))
                return text;
    return unitName(root, key, leafKey);
}

} // namespace

RomNames romNamesOf(const DecodedRom& decoded) {
    return {nameOf(decoded.root, VendorKey, VendorNameLeafKey),
            nameOf(decoded.root, ModelKey, ModelNameLeafKey)};
}

} // namespace rombus::decode
