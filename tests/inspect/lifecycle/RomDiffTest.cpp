#include "inspect/lifecycle/RomDiff.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

namespace {

using rombus::RomChange;
using rombus_test::RomLayout;

// Root: vendor, model, a model name, and units[0] (and units[1] when asked) with a specifier
// and version. The leaf is laid out before the units, or after them when moved.
std::vector<uint8_t> node(uint32_t model, const std::string& name, bool secondUnit = false,
                          bool leafLast = false) {
    RomLayout rom;
    std::vector<RomLayout::Item> root = {RomLayout::immediate(0x03, 0x00A02D),
                                         RomLayout::immediate(0x17, model)};
    const int units = secondUnit ? 2 : 1;
    const int leaf = leafLast ? 1 + units : 1;
    const int firstUnit = leafLast ? 1 : 2;
    root.push_back(RomLayout::ref(0x81, leaf));
    for (int unit = 0; unit < units; ++unit)
        root.push_back(RomLayout::ref(0xD1, firstUnit + unit));
    rom.directory(root);
    auto addUnits = [&] {
        for (int unit = 0; unit < units; ++unit)
            rom.directory({RomLayout::immediate(0x12, 0x00A02D),
                           RomLayout::immediate(0x13, 0x000100 + unit)});
    };
    if (leafLast)
        addUnits();
    rom.textLeaf(name);
    if (!leafLast)
        addUnits();
    return rom.image();
}

std::vector<RomChange> diff(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b,
                            bool layout = false) {
    return rombus::diffRoms(rombus::decode::decodeRom(a), rombus::decode::decodeRom(b), layout);
}

std::string hexOffset(size_t offset) {
    char text[16];
    std::snprintf(text, sizeof text, "%zXh", offset);
    return text;
}

// The quadlet at an offset in hexadecimal, as the bytes stand.
std::string shownBytes(const std::vector<uint8_t>& rom, size_t at) {
    char text[16];
    std::snprintf(text, sizeof text, "%02X%02X%02X%02X", rom[at], rom[at + 1], rom[at + 2],
                  rom[at + 3]);
    return text;
}

std::string shown(const std::vector<RomChange>& changes) {
    std::string text;
    for (const RomChange& change : changes)
        text += std::string(rombus::changeKindName(change.kind)) + " " + change.path + " " +
                change.aspect + " [" + change.before + "] [" + change.after + "]\n";
    return text;
}

TEST(RomDiff, EntriesAreAlignedByPathAndOnlyTheirChangesShown) {
    const auto base = node(1, "Camera");
    EXPECT_EQ(shown(diff(base, base)), "");
    EXPECT_EQ(shown(diff(base, node(2, "Camera"))),
              "changed root/model value [000001h] [000002h]\n");
    EXPECT_EQ(shown(diff(base, node(1, "Camcorder"))),
              "changed root/descriptor value [\"Camera\"] [\"Camcorder\"]\n");
    EXPECT_EQ(shown(diff(base, node(1, "Camera", true))),
              "added root/unit[1] value [] [directory of 2 entries]\n"
              "added root/unit[1] crc [] [ok]\n"
              "added root/unit[1]/specifier_id value [] [00A02Dh]\n"
              "added root/unit[1]/version value [] [000101h]\n");
    EXPECT_EQ(shown(diff(node(1, "Camera", true), base)),
              "removed root/unit[1] value [directory of 2 entries] []\n"
              "removed root/unit[1] crc [ok] []\n"
              "removed root/unit[1]/specifier_id value [00A02Dh] []\n"
              "removed root/unit[1]/version value [000101h] []\n");
}

TEST(RomDiff, AMovedBlockIsToldByLayoutWhenAskedOrWhenNothingElseDiffers) {
    const auto before = node(1, "Camera"), after = node(1, "Camera", false, true);
    ASSERT_NE(before, after);
    const std::string moved = "changed root/descriptor offset [28h] [34h]\n"
                              "changed root/unit[0] offset [3Ch] [28h]\n";
    EXPECT_EQ(shown(diff(before, after)), moved);
    EXPECT_EQ(shown(diff(before, after, true)), moved);
    // With another change too, the move is told only when asked.
    EXPECT_EQ(shown(diff(before, node(2, "Camera", false, true))),
              "changed root/model value [000001h] [000002h]\n");
}

TEST(RomDiff, EveryByteThatDiffersIsToldWhereTheStructureDoesNot) {
    const auto base = node(1, "Camera");
    // Quadlets past every block, in one ROM only or in both with other bytes.
    auto longer = base;
    longer.insert(longer.end(), {0xDE, 0xAD, 0xBE, 0xEF, 0x01});
    EXPECT_EQ(shown(diff(base, longer)), "added rom/" + hexOffset(base.size()) +
                                             " bytes [] [DEADBEEF, outside every block]\n"
                                             "added rom/" +
                                             hexOffset(base.size() + 4) +
                                             " bytes [] [01, outside every block]\n");
    auto other = longer;
    other.back() = 0x02;
    other[base.size()] = 0x00;
    EXPECT_EQ(shown(diff(longer, other)),
              "changed rom/" + hexOffset(base.size()) +
                  " bytes [DEADBEEF, outside every block] [00ADBEEF, outside every block]\n"
                  "changed rom/" +
                  hexOffset(base.size() + 4) +
                  " bytes [01, outside every block] [02, outside every block]\n");
    // A byte after the text's NUL, the leaf's CRC made right again: the text and every CRC
    // read the same, two quadlets do not. The leaf "Camera" stands at 28h: header, two
    // quadlets, then "Came" "ra\0\0".
    auto afterNul = base;
    afterNul[0x28 + 12 + 7] = 'x';
    std::vector<uint32_t> leaf;
    for (size_t at = 0x28; at < 0x3C; at += 4)
        leaf.push_back(uint32_t{afterNul[at]} << 24 | uint32_t{afterNul[at + 1]} << 16 |
                       uint32_t{afterNul[at + 2]} << 8 | afterNul[at + 3]);
    const uint16_t crc = rombus_test::crc16(leaf, 1, 4);
    afterNul[0x2A] = static_cast<uint8_t>(crc >> 8);
    afterNul[0x2B] = static_cast<uint8_t>(crc);
    char header[16];
    std::snprintf(header, sizeof header, "0004%04X", crc);
    const std::string oldHeader = shownBytes(base, 0x28);
    EXPECT_EQ(shown(diff(base, afterNul)),
              "changed rom/28h bytes [" + oldHeader + ", in the block at 28h] [" + header +
                  ", in the block at 28h]\n"
                  "changed rom/38h bytes [72610000, in the block at 28h] [72610078, in the "
                  "block at 28h]\n");
    // Outside every block, beside a change of structure: both told.
    auto both = node(2, "Camera");
    both.insert(both.end(), {0, 0, 0, 1});
    EXPECT_EQ(shown(diff(base, both)), "changed root/model value [000001h] [000002h]\n"
                                       "added rom/" +
                                           hexOffset(base.size()) +
                                           " bytes [] [00000001, outside every block]\n");
}

TEST(RomDiff, CrcsBusFieldsAndGuidAreCompared) {
    const auto good = node(1, "Camera");
    auto bad = good;
    bad[2] ^= 0xFF;  // the bus information block's CRC
    bad[8] ^= 0x80;  // irmc
    bad[19] ^= 0x01; // the GUID's last bit
    std::vector<uint32_t> quadlets;
    for (size_t at = 0; at < 20; at += 4)
        quadlets.push_back(uint32_t{bad[at]} << 24 | uint32_t{bad[at + 1]} << 16 |
                           uint32_t{bad[at + 2]} << 8 | bad[at + 3]);
    char crc[32];
    std::snprintf(crc, sizeof crc, "%04Xh, not %04Xh", quadlets[0] & 0xFFFF,
                  rombus_test::crc16(quadlets, 1, 4));
    EXPECT_EQ(shown(diff(good, bad)), "changed bus crc [ok] [" + std::string(crc) +
                                          "]\n"
                                          "changed bus/irmc value [1] [0]\n"
                                          "changed guid value [0001020304050607h] "
                                          "[0001020304050606h]\n");
}

} // namespace
