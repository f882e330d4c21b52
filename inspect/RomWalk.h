#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <optional>
#include <string>
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
    // A textual descriptor leaf in minimal ASCII: its text up to the first NUL.
    std::optional<std::string> text;

    unsigned type() const { return key >> 6; }
    unsigned keyId() const { return key & 0x3Fu; }
};

// The quadlet at a ROM offset, if the image holds all of it.
ROMBUS_API std::optional<uint32_t> quadletAt(const std::vector<uint8_t>& rom, uint32_t offset);

// The entries of the root directory and, nested, of every directory below it, each block read
// once: a block reached again is marked repeated and not read again.
ROMBUS_API std::vector<RomEntry> walkRoot(const std::vector<uint8_t>& rom);

// The ids the Linux kernel puts in a unit's modalias.
struct UnitIds {
    uint32_t directory = 0; // ROM offset of the unit directory
    uint32_t vendor = 0, model = 0, specifier = 0, version = 0;
};

// The unit directories the root directory names (key D1h), in order, each with the vendor,
// model, specifier and version ids as the kernel takes them: the root directory's, then those
// of the unit directory in their place.
ROMBUS_API std::vector<UnitIds> unitsOf(const std::vector<uint8_t>& rom);

// "ieee1394:venXXXXXXXXmoXXXXXXXXspXXXXXXXXverXXXXXXXX", as the kernel writes it.
ROMBUS_API std::string modalias(const UnitIds& unit);

// The fields of the bus options quadlet (offset 8), as IEEE 1394 lays them out.
struct BusOptions {
    unsigned irmc, cmc, isc, bmc, pmc, cycClkAcc, maxRec, maxRom, generation, linkSpeed;
};

ROMBUS_API std::optional<BusOptions> busOptionsOf(const std::vector<uint8_t>& rom);

} // namespace rombus::decode
