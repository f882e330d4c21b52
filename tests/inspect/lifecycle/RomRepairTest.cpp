#include "inspect/lifecycle/RomRepair.h"

#include "inspect/lifecycle/RomDiff.h"
#include "inspect/rom/RomDecoder.h"

#include "rombus_support/RomLayout.h"
#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

namespace {

using rombus_test::RomLayout;

uint32_t quadletAt(const std::vector<uint8_t>& rom, size_t at) {
    return uint32_t{rom[at]} << 24 | uint32_t{rom[at + 1]} << 16 | uint32_t{rom[at + 2]} << 8 |
           rom[at + 3];
}

void setCrc(std::vector<uint8_t>& rom, size_t at, uint16_t crc) {
    rom[at + 2] = static_cast<uint8_t>(crc >> 8);
    rom[at + 3] = static_cast<uint8_t>(crc);
}

std::vector<uint32_t> quadletsOf(const std::vector<uint8_t>& rom) {
    std::vector<uint32_t> quadlets;
    for (size_t at = 0; at + 4 <= rom.size(); at += 4)
        quadlets.push_back(quadletAt(rom, at));
    return quadlets;
}

uint32_t reversed(uint32_t q) {
    return q >> 24 | (q >> 8 & 0xFF00) | (q << 8 & 0xFF0000) | q << 24;
}

// The CRC mistakes of hand-built ROMs, made on the block whose header is at `at`.
std::vector<std::pair<std::string, uint16_t>> mistakes(const std::vector<uint8_t>& rom, size_t at,
                                                       size_t length) {
    const std::vector<uint32_t> q = quadletsOf(rom);
    const size_t header = at / 4;
    std::vector<uint32_t> withHeader(q.begin() + header, q.begin() + header + 1 + length);
    withHeader[0] &= 0xFFFF0000;
    std::vector<uint32_t> swapped;
    for (size_t i = header + 1; i <= header + length; ++i)
        swapped.push_back(reversed(q[i]));
    return {{"placeholder", 0xFFFF},
            {"wrong length", rombus_test::crc16(q, header + 1, length - 1)},
            {"header included", rombus_test::crc16(withHeader, 0, withHeader.size())},
            {"swapped bytes", rombus_test::crc16(swapped, 0, swapped.size())}};
}

TEST(RomRepair, EveryCrcMistakeIsCorrectedAndNothingElseChanged) {
    const rombus_test::RomLayout layout = rombus_bench::typicalLayout();
    const std::vector<uint8_t> good = layout.image();
    // The bus information block (4 quadlets), a leaf and a nested directory.
    const std::pair<size_t, size_t> blocks[] = {
        {0, 4}, {layout.offsetOf(1), 2 + 7}, {layout.offsetOf(4), 8}};
    for (const auto& [at, length] : blocks)
        for (const auto& [mistake, crc] : mistakes(good, at, length)) {
            SCOPED_TRACE(mistake + " at " + std::to_string(at));
            auto bad = good;
            setCrc(bad, at, crc);
            ASSERT_NE(bad, good);
            const rombus::RomRepair repair = rombus::repairRom(bad, false);
            EXPECT_EQ(repair.rom, good);
            EXPECT_EQ(repair.changes.size(), 1u);
            EXPECT_TRUE(repair.left.empty());
            const auto changes = rombus::diffRoms(rombus::decode::decodeRom(bad),
                                                  rombus::decode::decodeRom(repair.rom), false);
            ASSERT_EQ(changes.size(), 1u);
            EXPECT_EQ(changes[0].aspect, "crc");
        }
}

TEST(RomRepair, CrcLengthCoversTheRomWhenAskedAndAnUnknowableCrcIsLeft) {
    const std::vector<uint8_t> good = rombus_bench::typicalRom();
    const rombus::RomRepair covered = rombus::repairRom(good, true);
    const uint32_t first = quadletAt(covered.rom, 0);
    EXPECT_EQ(first >> 16 & 0xFF, good.size() / 4 - 1);
    EXPECT_EQ(first & 0xFFFF, rombus_test::crc16(quadletsOf(covered.rom), 1, good.size() / 4 - 1));
    EXPECT_EQ(covered.changes.size(), 2u);
    const auto changes = rombus::diffRoms(rombus::decode::decodeRom(good),
                                          rombus::decode::decodeRom(covered.rom), false);
    ASSERT_EQ(changes.size(), 1u); // the CRC is right before and after
    EXPECT_EQ(changes[0].path, "bus/crc_length");
    // A leaf whose length runs past the end: its CRC cannot be known and is left.
    RomLayout rom;
    rom.directory({RomLayout::ref(0x81, 1)});
    rom.leaf({0, 0, 0x41000000});
    auto cut = rom.image();
    cut.resize(cut.size() - 4);
    const rombus::RomRepair partial = rombus::repairRom(cut, false);
    ASSERT_EQ(partial.left.size(), 1u);
    EXPECT_NE(partial.left[0].find("leaf root/descriptor at 1Ch"), std::string::npos)
        << partial.left[0];
    // A minimal ROM has no CRC.
    EXPECT_TRUE(rombus::repairRom({0x01, 0x00, 0xA0, 0x2D}, true).changes.empty());
}

TEST(RomRepair, AChainOfOverlappingLeavesSettlesInOneRun) {
    // The root directory refers to 20 leaves of two quadlets, each header one quadlet after the
    // one before: every leaf covers the CRC of the next, so no leaf's CRC is right until the one
    // after it is. Every CRC starts wrong.
    constexpr uint32_t Leaves = 20, Root = 5, First = Root + 1 + Leaves;
    rombus_test::BusInfo info;
    std::vector<uint32_t> q = {0x04040000, info.busNameQuadlet(), info.busOptions(), 0x00010203,
                               0x04050607};
    q.push_back(Leaves << 16);
    for (uint32_t i = 0; i < Leaves; ++i)
        q.push_back(0x81000000 | (First + i - (Root + 1 + i)));
    for (uint32_t i = 0; i < Leaves; ++i)
        q.push_back(2u << 16);
    q.push_back(0x41424344);
    q.push_back(0x45464748);
    const std::vector<uint8_t> spoilt = rombus_test::busOrderBytes(q);

    const rombus::RomRepair repair = rombus::repairRom(spoilt, false);
    EXPECT_TRUE(repair.left.empty());
    EXPECT_EQ(repair.changes.size(), Leaves + 2); // the leaves, the root and the bus block
    const std::vector<uint32_t> fixed = quadletsOf(repair.rom);
    for (uint32_t i = 0; i < Leaves; ++i)
        EXPECT_EQ(fixed[First + i] & 0xFFFF, rombus_test::crc16(fixed, First + i + 1, 2))
            << "leaf " << i;
    EXPECT_EQ(fixed[Root] & 0xFFFF, rombus_test::crc16(fixed, Root + 1, Leaves));
    EXPECT_EQ(fixed[0] & 0xFFFF, rombus_test::crc16(fixed, 1, 4));
    // A second run finds nothing left to do.
    const rombus::RomRepair again = rombus::repairRom(repair.rom, false);
    EXPECT_TRUE(again.changes.empty());
    EXPECT_EQ(again.rom, repair.rom);
}

} // namespace
