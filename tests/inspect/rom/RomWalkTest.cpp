#include "inspect/rom/RomWalk.h"
#include "inspect/knowledge/RomNames.h"
#include "inspect/rom/RomDecoder.h"
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

TEST(RomWalk, UnitsOfInstanceDirectoriesFollowTheKernelsAndAVendorDirectoryGivesIds) {
    // Root: an instance directory (D8h) before a unit directory, and a vendor directory (C3h)
    // whose model id stands between the root's and the unit's ids.
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 0x012345), RomLayout::ref(0xD8, 1),
                      RomLayout::ref(0xD1, 3), RomLayout::ref(0xC3, 4)});
    layout.directory({RomLayout::ref(0x99, 2), RomLayout::ref(0xD1, 5)});
    layout.leaf({0x41420043, 0x44000000, 0x45464748});
    layout.directory({RomLayout::immediate(0x12, 0xABCDEF), RomLayout::immediate(0x13, 0x543210)});
    layout.directory({RomLayout::immediate(0x17, 0xFEDCBA), RomLayout::immediate(0x03, 0x0A0B0C)});
    layout.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x000110),
                      RomLayout::immediate(0x17, 0x000007)});
    const auto rom = layout.image();
    const auto units = rombus::decode::unitsOf(rom);
    ASSERT_EQ(units.size(), 2u);
    // The kernel's unit fwN.0 is the root's, although the instance directory comes first.
    EXPECT_EQ(units[0].directory, layout.offsetOf(3));
    EXPECT_TRUE(units[0].kernelUnit);
    EXPECT_EQ(units[0].specifierEntry, layout.offsetOf(3) + 4);
    EXPECT_EQ(rombus::decode::modalias(units[0]),
              "ieee1394:ven000A0B0Cmo00FEDCBAsp00ABCDEFver00543210");
    EXPECT_EQ(units[1].directory, layout.offsetOf(5));
    EXPECT_FALSE(units[1].kernelUnit);
    EXPECT_EQ(rombus::decode::modalias(units[1]),
              "ieee1394:ven000A0B0Cmo00000007sp0000A02Dver00000110");
    // The keyword leaf: keywords up to each NUL, the last one without a NUL kept too.
    const auto root = rombus::decode::walkRoot(rom);
    const RomEntry& keywords = root[1].children[0];
    ASSERT_TRUE(keywords.keywords);
    EXPECT_EQ(*keywords.keywords, (std::vector<std::string>{"AB", "CD", "EFGH"}));
    EXPECT_FALSE(keywords.text);
}

TEST(RomWalk, InstanceDirectoriesThatPointBackNameNoUnitTwice) {
    // A root of 100 instance directory entries of value 0, each read as a directory from itself
    // on, so that each holds the unit directory entry at the root's end: one unit of the root,
    // and no unit of an instance directory beside it.
    std::vector<uint32_t> quadlets = {0x04040000, 0x31333934, 0xE0648002, 0, 1, 101u << 16};
    for (int i = 0; i < 100; ++i)
        quadlets.push_back(0xD8000000);
    quadlets.push_back(0xD1000001);
    quadlets.push_back(0x00010000);
    quadlets.push_back(0x1200609E);
    const auto units = rombus::decode::unitsOf(bytesOf(quadlets));
    ASSERT_EQ(units.size(), 1u);
    EXPECT_TRUE(units[0].kernelUnit);
    EXPECT_EQ(units[0].specifier, 0x00609Eu);
}

TEST(RomWalk, ModelNameLeavesAreTextOnlyInADependentDirectory) {
    // Key 82h holds a name in an IIDC unit-dependent directory (D4h), and nothing elsewhere.
    RomLayout layout;
    layout.directory({RomLayout::ref(0x82, 2), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x000102),
                      RomLayout::ref(0xD4, 3)});
    layout.textLeaf("Not a name");
    layout.directory({RomLayout::ref(0x81, 4), RomLayout::ref(0x82, 5)});
    layout.textLeaf("Maker");
    layout.textLeaf("Camera");
    const auto decoded = rombus::decode::decodeRom(layout.image());
    EXPECT_FALSE(decoded.root[0].text);
    const RomEntry* dependent = rombus::decode::entryAt(decoded.root, layout.offsetOf(3));
    ASSERT_NE(dependent, nullptr);
    EXPECT_EQ(dependent->children[1].text, "Camera");
    const RomEntry* unit = rombus::decode::entryAt(decoded.root, layout.offsetOf(1));
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(rombus::decode::textsBelow(unit->children),
              (std::vector<std::string>{"Maker", "Camera"}));
    // The root names no vendor or model of its own: the unit-dependent directory's leaves do.
    const auto names = rombus::decode::romNamesOf(decoded);
    EXPECT_EQ(names.vendor, "Maker");
    EXPECT_EQ(names.model, "Camera");
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
