// Diff, repair and the description over ROMs spoilt at random (a fixed seed): whatever a ROM
// holds, a ROM equals itself and differs from every other, a repaired ROM has no wrong CRC it
// could know and needs no second repair, and a description builds the same bytes or is refused.
#include "inspect/lifecycle/RomDescription.h"
#include "inspect/lifecycle/RomDiff.h"
#include "inspect/lifecycle/RomRepair.h"
#include "inspect/rom/RomDecoder.h"

#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(RomLifecycle, SpoiltRomsEqualThemselvesRepairAndDescribeFaithfully) {
    std::mt19937 random(1394);
    const std::vector<uint8_t> typical = rombus_bench::typicalRom();
    size_t described = 0;
    for (int round = 0; round < 2000; ++round) {
        std::vector<uint8_t> rom = typical;
        // Cut after a quadlet now and then, else whole.
        if (round % 3 == 0)
            rom.resize(4 * (1 + random() % (typical.size() / 4)));
        for (int change = 0; change < 1 + round % 4; ++change)
            rom[random() % rom.size()] = static_cast<uint8_t>(random());
        SCOPED_TRACE(round);
        const auto decoded = rombus::decode::decodeRom(rom);
        EXPECT_TRUE(rombus::diffRoms(decoded, decoded, true).empty());
        const auto original = rombus::decode::decodeRom(typical);
        EXPECT_EQ(rombus::diffRoms(original, decoded, false).empty(), rom == typical);
        const rombus::RomRepair repair = rombus::repairRom(rom, false);
        const auto repaired = rombus::decode::decodeRom(repair.rom);
        for (const auto& block : repaired.blocks)
            EXPECT_TRUE(!block.complete() || block.crcOk()) << block.offset;
        if (repair.left.empty()) {
            EXPECT_TRUE(rombus::repairRom(repair.rom, false).changes.empty());
        }
        std::string why;
        const std::string description = rombus::describeRom(decoded, why);
        if (description.empty()) {
            EXPECT_FALSE(why.empty());
            continue;
        }
        ++described;
        EXPECT_EQ(rombus::buildRom(description, why), rom) << why << "\n" << description;
    }
    EXPECT_GT(described, 750u);
}

} // namespace
