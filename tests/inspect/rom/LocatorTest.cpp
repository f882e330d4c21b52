// Reading the module's locators and record variables back into ROM offsets.
#include "inspect/rom/Locator.h"

#include <gtest/gtest.h>

namespace {

using rombus::entryAddressOf;

TEST(Locator, EntryAddressesAndTheirRomOffsets) {
    const auto entry = entryAddressOf("IEEE1394NODE:0:0x0001020304050607:DIRECTORY@fffff0000434");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->word, "DIRECTORY");
    EXPECT_EQ(entry->address, 0xFFFFF0000434ull);
    EXPECT_EQ(entry->romOffset(), 0x34u);
    // The first byte of the ROM and an address below it, which no ROM offset names.
    EXPECT_EQ(entryAddressOf("X:LEAF@FFFFF0000400")->romOffset(), 0u);
    EXPECT_FALSE(entryAddressOf("X:LEAF@fffff00003fc")->romOffset());
    // Port and node locators, and what is not hexadecimal after the '@', are not entries.
    for (const char* other : {"IEEE1394PORT:1", "IEEE1394NODE:0:0x0001020304050607", "X:LEAF@",
                              "X:LEAF@12g4", "X:LEAF@-1", "LEAF@1:2"})
        EXPECT_FALSE(entryAddressOf(other)) << other;
    EXPECT_EQ(rombus::entryLocatorTail("IMMEDIATE", 0x18), "IMMEDIATE@fffff0000418");
    EXPECT_EQ(entryAddressOf(rombus::entryLocatorTail("LEAF", 0x3FC))->romOffset(), 0x3FCu);
}

} // namespace
