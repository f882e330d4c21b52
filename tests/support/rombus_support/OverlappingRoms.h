#pragma once

// ROMs whose blocks share quadlets: a leaf inside a leaf, a leaf that runs on past the end of
// another, a leaf that runs into a directory, a leaf inside the root directory, and a ROM of 256
// quadlets whose two leaves together take more than 256. Every block is well formed, its CRC
// right; the ROMs are built quadlet by quadlet, since a layout never overlaps its blocks.

#include "rombus_support/RomLayout.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace rombus_test {

// A block's place and length, to be given its header.
struct OverlapBlock {
    uint32_t at, length;
};

// The ROM of the quadlets with the bus information block filled in and each block's header
// computed, in the order given: a block inside another comes before it, so that the outer
// block's CRC covers the inner one's header.
inline std::vector<uint8_t> overlappingRom(std::vector<uint32_t> q,
                                           const std::vector<OverlapBlock>& blocks) {
    q[1] = 0x31333934;
    q[2] = 0xE0008000;
    q[3] = 0x0030E000;
    q[4] = 0x00000042;
    for (const OverlapBlock& block : blocks)
        q[block.at / 4] = block.length << 16 | crc16(q, block.at / 4 + 1, block.length);
    q[0] = 0x04040000 | crc16(q, 1, 4);
    return busOrderBytes(q);
}

inline std::vector<std::pair<std::string, std::vector<uint8_t>>> overlappingRoms() {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> roms;
    // A root directory of a leaf at 20h and a second block at 28h, inside the leaf.
    std::vector<uint32_t> inner(12, 0);
    inner[6] = 0x81000002;
    inner[7] = 0x82000003;
    inner[9] = 0x11111111;
    inner[11] = 0x22222222;
    roms.emplace_back("leaf inside a leaf",
                      overlappingRom(inner, {{0x28, 1}, {0x20, 3}, {0x14, 2}}));
    std::vector<uint32_t> past = inner;
    past.insert(past.end(), {0x33333333, 0x44444444});
    roms.emplace_back("leaf past the end of a leaf",
                      overlappingRom(past, {{0x28, 3}, {0x20, 3}, {0x14, 2}}));
    std::vector<uint32_t> directory = inner;
    directory[7] = 0xD1000003;
    directory[11] = 0x12345678;
    directory.push_back(0x13000001);
    roms.emplace_back("leaf into a directory",
                      overlappingRom(directory, {{0x28, 2}, {0x20, 3}, {0x14, 2}}));
    // The root directory's second and third entries are a leaf its first entry refers to.
    std::vector<uint32_t> root(9, 0);
    root[6] = 0x81000001;
    root[8] = 0x0C0083C0;
    roms.emplace_back("leaf inside the root directory",
                      overlappingRom(root, {{0x1C, 1}, {0x14, 3}}));
    // 256 quadlets: a leaf of 247 at 20h, and one of 245 inside it at 28h.
    std::vector<uint32_t> full(256, 0);
    full[6] = 0x81000002;
    full[7] = 0x82000003;
    for (uint32_t i = 9; i < full.size(); ++i)
        full[i] = 0x01010101 * (i % 200 + 1);
    roms.emplace_back("two leaves of 256 quadlets",
                      overlappingRom(full, {{0x28, 245}, {0x20, 247}, {0x14, 2}}));
    return roms;
}

} // namespace rombus_test
