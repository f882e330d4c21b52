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

TEST(RomDiff, AMovedBlockIsToldOnlyWithTheLayout) {
    const auto before = node(1, "Camera"), after = node(1, "Camera", false, true);
    ASSERT_NE(before, after);
    EXPECT_EQ(shown(diff(before, after)), "");
    EXPECT_EQ(shown(diff(before, after, true)), "changed root/descriptor offset [28h] [34h]\n"
                                                "changed root/unit[0] offset [3Ch] [28h]\n");
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
