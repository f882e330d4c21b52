#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rombus::decode {

// The ROM offset of the root directory, after the five quadlets of the bus information block.
constexpr uint32_t RootDirectoryOffset = 20;

// One directory entry as it stands in a ROM image, and what it points at. Reading never leaves
// the image: a block that runs past its end is read up to it, and a target outside it is given
// but not read.
struct RomEntry {
    uint32_t offset = 0; // ROM offset of the entry quadlet
    uint8_t key = 0;     // key type (bits 7-6) and key id (bits 5-0)
    uint32_t value = 0;  // the 24-bit value
    // A leaf or directory entry: the ROM offset of its block.
    std::optional<uint32_t> target;
    // The block was already shown for an earlier entry (blocks may be shared, or loop back).
    bool repeated = false;
    // A directory's entries.
    std::vector<RomEntry> children;
    // A textual descriptor leaf in minimal ASCII (or a name leaf of an IIDC unit-dependent
    // directory, laid out alike): its text up to the first NUL.
    std::optional<std::string> text;
    // A keyword leaf (key 99h): its keywords, each ASCII up to a NUL.
    std::optional<std::vector<std::string>> keywords;
    // Where it stands in the tree, "root/unit[0]/model": the directories from the root, then
    // the key's name (inspect/KeyNames.h), with the index among the entries of that key before
    // it in [] when it is not the first, and always for a directory.
    std::string path;

    unsigned type() const { return key >> 6; }
    unsigned keyId() const { return key & 0x3Fu; }
};

// The quadlet at a ROM offset, if the image holds all of it.
ROMBUS_API std::optional<uint32_t> quadletAt(const std::vector<uint8_t>& rom, uint32_t offset);

// The entries of the directory whose header is at a ROM offset, each as its ROM offset and
// quadlet, as many as the header declares and the image holds: the one walk over a directory.
ROMBUS_API std::vector<std::pair<uint32_t, uint32_t>>
directoryEntries(const std::vector<uint8_t>& rom, uint32_t directory);

// The entries of the root directory and, nested, of every directory below it, each block read
// once: a block reached again is marked repeated and not read again.
ROMBUS_API std::vector<RomEntry> walkRoot(const std::vector<uint8_t>& rom);

// The ids the Linux kernel puts in a unit's modalias.
struct UnitIds {
    uint32_t directory = 0; // ROM offset of the unit directory
    uint32_t vendor = 0, model = 0, specifier = 0, version = 0;
    // ROM offset of the entry the specifier id was taken from; 0 when there is none.
    uint32_t specifierEntry = 0;
    // Named by the root directory: the kernel makes a unit device fwN.M of it. A unit directory
    // reached through an instance directory (key D8h) is not one the kernel sees.
    bool kernelUnit = true;
};

// The unit directories of a ROM: first those the root directory names (key D1h), in order, as
// the kernel numbers them; then those named by the root's instance directories (key D8h). Each
// has the vendor, model, specifier and version ids as the kernel takes them: the root
// directory's, then those of a vendor directory (key C3h) in the root (the legacy layout of
// AV/C devices), then those of the unit directory, each in the place of the one before.
ROMBUS_API std::vector<UnitIds> unitsOf(const std::vector<uint8_t>& rom);

// The textual descriptors reachable from a directory (leaves and the directories below it), in
// ROM order, each once.
ROMBUS_API std::vector<std::string> textsBelow(const std::vector<RomEntry>& entries);

// The first entry of a key in a directory; null when there is none.
ROMBUS_API const RomEntry* firstWithKey(const std::vector<RomEntry>& directory, uint8_t key);

// The entry whose block is at a ROM offset, searched through the whole tree; null when none.
ROMBUS_API const RomEntry* entryAt(const std::vector<RomEntry>& entries, uint32_t target);

// "ieee1394:venXXXXXXXXmoXXXXXXXXspXXXXXXXXverXXXXXXXX", as the kernel writes it.
ROMBUS_API std::string modalias(const UnitIds& unit);

// The fields of the bus options quadlet (offset 8), as IEEE 1394 lays them out.
struct BusOptions {
    unsigned irmc, cmc, isc, bmc, pmc, cycClkAcc, maxRec, maxRom, generation, linkSpeed;
};

ROMBUS_API std::optional<BusOptions> busOptionsOf(const std::vector<uint8_t>& rom);

} // namespace rombus::decode
