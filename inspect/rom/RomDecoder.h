#pragma once

#include "inspect/rom/RomWalk.h"
#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus::decode {

enum class BlockKind { BusInfo, Directory, Leaf };

// One block of a ROM image with its CRC as stored and as computed: the bus information block
// (covering crc_length quadlets after its first) or a directory or leaf (covering its length).
struct RomBlock {
    BlockKind kind = BlockKind::Leaf;
    uint32_t offset = 0;      // ROM offset of its header quadlet
    uint32_t declared = 0;    // quadlets its header says the CRC covers
    uint32_t available = 0;   // of those, how many the image holds
    uint16_t storedCrc = 0;   // the low half of its header
    uint16_t crc = 0;         // the IEEE 1212 CRC-16 of the quadlets the image holds
    uint16_t reversedCrc = 0; // the same over every quadlet with its bytes reversed
    uint8_t key = 0;          // the key of the first entry that reached it (0 for the bus block)
    uint32_t firstEntry = 0;  // and that entry's ROM offset

    bool complete() const { return available == declared; }
    bool crcOk() const { return complete() && storedCrc == crc; }
    // The stored CRC is the one of the quadlets with their bytes reversed, not of the quadlets.
    bool reversedOnly() const { return complete() && storedCrc != crc && storedCrc == reversedCrc; }
};

// A ROM image decoded on its own terms, independently of the module's reading: its blocks in
// ROM order, the entry tree from the root directory and its units. Nothing outside the image is
// read; loops, shared blocks, targets outside the image and lengths past its end are shown, never
// followed.
struct DecodedRom {
    std::vector<uint8_t> rom;
    std::vector<RomBlock> blocks;
    std::vector<RomEntry> root;
    std::vector<UnitIds> units;

    uint32_t quadlets() const { return static_cast<uint32_t>(rom.size() / 4); }
};

ROMBUS_API DecodedRom decodeRom(const std::vector<uint8_t>& rom);

// The IEEE 1212 CRC-16 (polynomial 1021h, from 0, most significant bit first) of quadlets.
ROMBUS_API uint16_t crc16(const std::vector<uint32_t>& quadlets);

} // namespace rombus::decode
