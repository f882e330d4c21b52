#include "inspect/RomWalk.h"
#include "inspect/RomDecoder.h"
#include "libRombus/Declarations.h"
#include "libRombus/Lib1394Util.h"
#include "vesk5/SysInfoModule.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

namespace {

using rombus::decode::RomEntry;
using rombus_test::RomLayout;

std::vector<uint8_t> bytesOf(const std::vector<uint32_t>& quadlets) {
    return rombus_test::busOrderBytes(quadlets);
}

TEST(RomWalk, EveryBlockIsReadOnceAndNeverOutsideTheImage) {
    // Root: vendor, a unit directory, and a text leaf both name; the unit directory also points
    // back at the root and past the image's end.
    RomLayout layout;
    const int text = 2;
    layout.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0xD1, 1),
                      RomLayout::ref(0x81, text)});
    layout.directory({RomLayout::immediate(0x12, 0x00A027), RomLayout::ref(0x81, text),
                      RomLayout::immediate(0xD4, 0xFFFFFF), RomLayout::immediate(0xD8, 0)});
    layout.textLeaf("Name");
    const auto root = rombus::decode::walkRoot(layout.image());
    ASSERT_EQ(root.size(), 3u);
    EXPECT_EQ(root[0].offset, 24u);
    EXPECT_EQ(root[0].value, 0x00A027u);
    EXPECT_FALSE(root[0].target);
    const RomEntry& unit = root[1];
    EXPECT_EQ(unit.type(), 3u);
    EXPECT_EQ(unit.keyId(), 0x11u);
    EXPECT_EQ(unit.target, layout.offsetOf(1));
    ASSERT_EQ(unit.children.size(), 4u);
    EXPECT_EQ(unit.children[1].text, "Name");
    EXPECT_FALSE(unit.children[1].repeated);
    // A target past the image is given but not read; an entry of value 0 points at itself, is
    // read as a directory once, and names itself again as repeated; the leaf the root names
    // after the unit directory did is repeated too.
    EXPECT_EQ(unit.children[2].target, unit.children[2].offset + 4 * 0xFFFFFFu);
    EXPECT_TRUE(unit.children[2].children.empty());
    const RomEntry& itself = unit.children[3];
    EXPECT_EQ(itself.target, itself.offset);
    ASSERT_FALSE(itself.children.empty());
    EXPECT_EQ(itself.children[0].offset, itself.offset + 4);
    EXPECT_TRUE(root[2].repeated);
    EXPECT_FALSE(root[2].text);
}

TEST(RomWalk, LengthsPastTheEndAreCutAndShortImagesGiveNothing) {
    // The root directory claims 200 entries; the image holds two.
    const auto rom =
        bytesOf({0x04040000, 0x31333934, 0xE0648002, 0, 1, 0x00C80000, 0x0300A027, 0x81000010});
    const auto root = rombus::decode::walkRoot(rom);
    ASSERT_EQ(root.size(), 2u);
    EXPECT_EQ(root[1].target, 28u + 0x40u);
    EXPECT_FALSE(root[1].text);
    for (size_t size = 0; size < 24; ++size)
        EXPECT_TRUE(
            rombus::decode::walkRoot(std::vector<uint8_t>(rom.begin(), rom.begin() + size)).empty())
            << size;
    EXPECT_FALSE(rombus::decode::busOptionsOf(std::vector<uint8_t>(11)));
    const auto options = rombus::decode::busOptionsOf(rom);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->irmc + options->cmc + options->isc, 3u);
    EXPECT_EQ(options->cycClkAcc, 0x64u);
    EXPECT_EQ(options->maxRec, 8u);
    EXPECT_EQ(options->linkSpeed, 2u);
}

// The root, then dependent-information directories nested `levels` deep, each naming the next
// one; the last holds a model id.
RomLayout nestedLayout(int levels) {
    RomLayout layout;
    for (int level = 0; level < levels; ++level)
        layout.directory({RomLayout::ref(0xD4, level + 1)});
    layout.directory({RomLayout::immediate(0x17, 0x000042)});
    return layout;
}

TEST(RomWalk, DirectoriesNestAsDeepAsTheRomHoldsThem) {
    const std::vector<uint8_t> rom = nestedLayout(120).image();
    ASSERT_LE(rom.size(), 1024u);
    auto entries = rombus::decode::walkRoot(rom);
    for (int level = 0; level < 120; ++level) {
        ASSERT_EQ(entries.size(), 1u) << level;
        EXPECT_EQ(entries[0].keyId(), 0x14u);
        auto children = std::move(entries[0].children);
        entries = std::move(children);
    }
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].value, 0x42u);
    EXPECT_EQ(rombus::decode::decodeRom(rom).blocks.size(), 122u);
}

TEST(RomWalk, UnitsTakeTheRootsIdsWhereTheirOwnAreMissing) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 0x0030E0), RomLayout::immediate(0x17, 0x000934),
                      RomLayout::ref(0xD1, 1), RomLayout::ref(0xD1, 2),
                      RomLayout::immediate(0x12, 0x000001)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483)});
    layout.directory({RomLayout::immediate(0x17, 0x000042), RomLayout::immediate(0x03, 0xACDE48),
                      RomLayout::immediate(0x13, 0x000002)});
    const auto units = rombus::decode::unitsOf(layout.image());
    ASSERT_EQ(units.size(), 2u);
    EXPECT_EQ(units[0].directory, layout.offsetOf(1));
    EXPECT_EQ(rombus::decode::modalias(units[0]),
              "ieee1394:ven000030E0mo00000934sp0000609Ever00010483");
    // The root's specifier id stands where the unit has none.
    EXPECT_EQ(rombus::decode::modalias(units[1]),
              "ieee1394:ven00ACDE48mo00000042sp00000001ver00000002");
}

} // namespace

namespace {

TEST(RomDecoder, TheCrcOfEveryBlockIsTheOneTheModuleAccepts) {
    // IEEE 1212's own example: the bytes 31h to 38h give 9015h.
    EXPECT_EQ(rombus::decode::crc16({0x31323334, 0x35363738}), 0x9015);
    RomLayout layout;
    layout.directory(
        {RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x81, 1), RomLayout::ref(0xD1, 2)});
    layout.textLeaf("A name of some length");
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 1)});
    std::vector<uint8_t> rom = layout.image();
    // Spoil every stored CRC: the decoder's value must still be the block's own.
    for (uint32_t offset : {0u, layout.offsetOf(0), layout.offsetOf(1), layout.offsetOf(2)})
        rom[offset + 3] ^= 0xFF;
    const auto decoded = rombus::decode::decodeRom(rom);
    ASSERT_EQ(decoded.blocks.size(), 4u);
    vesk5::SysInfoModule::findParameter("CRCMismatchLogLevel")->setValue(vesk5::Value(2u));
    for (const auto& block : decoded.blocks) {
        EXPECT_FALSE(block.crcOk());
        zul::Buffer<unsigned char> body(4 * block.declared);
        std::copy_n(rom.begin() + block.offset + 4, 4 * block.declared, body.data());
        const auto exchanged = [](uint16_t crc) {
            return static_cast<unsigned short>(crc << 8 | crc >> 8);
        };
        libRombus::lib1394_log record;
        EXPECT_TRUE(libRombus::Lib1394Util::verifyCRC16(
            exchanged(block.crc), body, 0, 4 * block.declared, block.offset + 4, "block", record));
        EXPECT_TRUE(record.message.isEmpty());
        EXPECT_FALSE(libRombus::Lib1394Util::verifyCRC16(exchanged(block.storedCrc), body, 0,
                                                         4 * block.declared, block.offset + 4,
                                                         "block", record));
    }
}

} // namespace
