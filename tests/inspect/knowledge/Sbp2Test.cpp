#include "inspect/knowledge/Sbp2.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

namespace {

using rombus::decode::sbp2Of;
using rombus::decode::UnitIds;
using rombus_test::RomLayout;

UnitIds sbp2Unit(uint32_t directory) {
    UnitIds unit;
    unit.directory = directory;
    unit.specifier = 0x00609E;
    unit.version = 0x010483;
    return unit;
}

TEST(Sbp2, EntriesAndLogicalUnitsInTheUnitAndTheirOwnDirectories) {
    RomLayout layout;
    layout.directory({RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::immediate(0x38, 0x00609E), RomLayout::immediate(0x39, 0x0104D8),
                      RomLayout::immediate(0x3B, 0x000002), RomLayout::immediate(0x3C, 0x0A2B3C),
                      RomLayout::immediate(0x54, 0x004000), RomLayout::immediate(0x3A, 0x000A08),
                      RomLayout::immediate(0x14, 0xFFFFFF), RomLayout::ref(0xD4, 2)});
    layout.directory({RomLayout::immediate(0x14, 0x450001)});
    const auto rom = layout.image();
    const auto sbp2 = sbp2Of(rom, sbp2Unit(layout.offsetOf(1)));
    ASSERT_TRUE(sbp2);
    EXPECT_EQ(sbp2->commandSetSpecId, 0x00609Eu);
    EXPECT_EQ(sbp2->commandSet, 0x0104D8u);
    EXPECT_EQ(sbp2->commandSetRevision, 2u);
    EXPECT_EQ(sbp2->firmwareRevision, 0x0A2B3Cu);
    EXPECT_EQ(sbp2->managementAgent, 0x4000u);
    EXPECT_EQ(sbp2->unitCharacteristics, 0x000A08u);
    ASSERT_EQ(sbp2->logicalUnits.size(), 2u);
    // All bits set: LUN FFFFh, device type 1Fh, ordered; bit 21 and 23 belong to none of them.
    EXPECT_EQ(sbp2->logicalUnits[0].lun, 0xFFFFu);
    EXPECT_EQ(sbp2->logicalUnits[0].deviceType, 0x1Fu);
    EXPECT_TRUE(sbp2->logicalUnits[0].ordered);
    EXPECT_EQ(sbp2->logicalUnits[0].directory, 0u);
    EXPECT_EQ(sbp2->logicalUnits[1].lun, 1u);
    EXPECT_EQ(sbp2->logicalUnits[1].deviceType, 5u);
    EXPECT_EQ(sbp2->logicalUnits[1].directory, layout.offsetOf(2));
    EXPECT_EQ(rombus::decode::sbp2EntryMeaning(0x3A, 0x000A08),
              "Unit_Characteristics: mgt_ORB_timeout 5000 ms, ORB_size 8 quadlets");
    EXPECT_EQ(rombus::decode::sbp2EntryMeaning(0x14, 0x450001),
              "Logical_Unit_Number: LUN 1, device type 05h, ordered");
    EXPECT_EQ(rombus::decode::sbp2EntryMeaning(0x12, 0x00609E), "");
    EXPECT_EQ(rombus::decode::sbp2Meanings(rom, {sbp2Unit(layout.offsetOf(1))}).size(), 9u);
    // Another architecture has no SBP-2 entries, whatever its keys.
    UnitIds other = sbp2Unit(layout.offsetOf(1));
    other.version = 0x0105BB;
    EXPECT_FALSE(sbp2Of(rom, other));
}

TEST(Sbp2, LogicalUnitDirectoriesThatLoopOrLeaveTheImageEndTheReading) {
    // A logical unit directory entry of value 0 points at itself, read as a header of D400h
    // entries cut at the image's end; one points past the end; the unit directory claims more
    // entries than the image holds. Logical unit directories are read from the unit directory
    // only, never from each other.
    const std::vector<uint32_t> quadlets = {0x04040000, 0x31333934, 0xE0648002, 0,
                                            1,          0x00010000, 0xD1000001, 0x00090000,
                                            0xD4000000, 0xD4FFFFFF, 0x14000003};
    const auto sbp2 = sbp2Of(rombus_test::busOrderBytes(quadlets), sbp2Unit(28));
    ASSERT_TRUE(sbp2);
    ASSERT_EQ(sbp2->logicalUnits.size(), 2u);
    EXPECT_EQ(sbp2->logicalUnits[0].directory, 32u);
    EXPECT_EQ(sbp2->logicalUnits[1].lun, 3u);
    EXPECT_EQ(sbp2->logicalUnits[1].directory, 0u);
    EXPECT_FALSE(sbp2->managementAgent);
}

} // namespace
