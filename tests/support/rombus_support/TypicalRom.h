#pragma once

// The ROM of a typical FireWire storage device, 60 quadlets with correct CRCs: a bus information
// block, a root directory with vendor, model, capabilities, an EUI-64 leaf, textual descriptors
// and a unit directory with its own dependent-information directory. The benchmarks read it and
// the fuzz corpus starts from it.
#include "rombus_support/RomLayout.h"

#include <cstdint>
#include <vector>

namespace rombus_bench {

// Company identifiers the typical ROM names, both listed in the IEEE registry.
constexpr uint32_t TypicalVendor = 0x0030E0;
constexpr uint32_t TypicalSpecifier = 0x00609E;

inline rombus_test::RomLayout typicalLayout(uint64_t guid = 0x0030E00001020304ull) {
    using rombus_test::RomLayout;
    // Blocks in the order they are laid out; an entry may refer to a block declared after it.
    enum Block { Root, VendorText, ModelText, Eui64, Unit, UnitText, Dependent };
    RomLayout rom(guid, 0xE0, 8);
    rom.directory({RomLayout::immediate(0x03, TypicalVendor), RomLayout::ref(0x81, VendorText),
                   RomLayout::immediate(0x17, 0x000001), RomLayout::ref(0x81, ModelText),
                   RomLayout::immediate(0x0C, 0x0083C0), RomLayout::ref(0x8D, Eui64),
                   RomLayout::ref(0xD1, Unit)});
    rom.textLeaf("Oxford Semiconductor Ltd.");
    rom.textLeaf("FireWire 800 Disk");
    rom.leaf({static_cast<uint32_t>(guid >> 32), static_cast<uint32_t>(guid)});
    rom.directory({RomLayout::immediate(0x12, TypicalSpecifier),
                   RomLayout::immediate(0x13, 0x010483), RomLayout::immediate(0x38, 0x00609E),
                   RomLayout::immediate(0x39, 0x0104D8), RomLayout::immediate(0x54, 0x004000),
                   RomLayout::immediate(0x17, 0x000001), RomLayout::ref(0x81, UnitText),
                   RomLayout::ref(0xD4, Dependent)});
    rom.textLeaf("SBP-2 Storage");
    rom.directory({RomLayout::immediate(0x3A, 0x0A0000), RomLayout::immediate(0x14, 0x0E0000),
                   RomLayout::immediate(0x3C, 0x000001)});
    return rom;
}

inline std::vector<uint8_t> typicalRom(uint64_t guid = 0x0030E00001020304ull) {
    return typicalLayout(guid).image();
}

} // namespace rombus_bench
