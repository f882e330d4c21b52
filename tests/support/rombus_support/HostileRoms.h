#pragma once

// ROMs whose blocks refer to each other so that reading them faithfully costs far more than
// their size: the tests pin that a node's reading is bounded, the benchmarks measure the bound.
#include "rombus_support/RomLayout.h"

#include <cstdint>
#include <vector>

namespace rombus_test {

// A root directory with a vendor id that refers twice to the first of `levels` directories of
// the given key, each referring twice to the next; the last holds `count` immediates `last`.
// Read faithfully, the last directory is parsed 2^levels times.
inline RomLayout doublingLayout(unsigned levels, uint8_t directoryKey, RomLayout::Item last,
                                unsigned count, uint64_t guid = 0x0030E00000000007ull) {
    RomLayout rom(guid);
    const int first = 1;
    rom.directory({RomLayout::immediate(0x03, 0x0030E0), RomLayout::ref(directoryKey, first),
                   RomLayout::ref(directoryKey, first)});
    for (unsigned level = 1; level < levels; ++level) {
        const int next = static_cast<int>(level) + 1;
        rom.directory({RomLayout::ref(directoryKey, next), RomLayout::ref(directoryKey, next)});
    }
    rom.directory(std::vector<RomLayout::Item>(count, last));
    return rom;
}

// Dependent-information directories 60 levels deep, the last holding one model id: 1,024 bytes
// at most, and about 2^60 directories for a faithful reader.
inline std::vector<uint8_t> deepDoublingRom(uint64_t guid = 0x0030E00000000007ull) {
    return doublingLayout(60, 0xD4, RomLayout::immediate(0x17, 1), 1, guid).image();
}

// Twelve levels of instance directories, the last holding 150 vendor ids greater than any
// company id: 772 bytes, and 614,400 registry lookups that each read the whole registry for a
// faithful reader.
inline std::vector<uint8_t> lookupStormRom(uint64_t guid = 0x0030E00000000008ull) {
    return doublingLayout(12, 0xD8, RomLayout::immediate(0x03, 0xFFFFFF), 150, guid).image();
}

// A well-formed ROM whose root directory holds 249 vendor ids greater than any company id: 1,020
// bytes, 249 entries (under the entry budget), and 249 lookups that each read the whole registry
// for a faithful reader.
inline std::vector<uint8_t> wideLookupStormRom(uint64_t guid = 0x0030E00000000009ull) {
    RomLayout rom(guid);
    rom.directory(std::vector<RomLayout::Item>(249, RomLayout::immediate(0x03, 0xFFFFFF)));
    return rom.image();
}

} // namespace rombus_test
