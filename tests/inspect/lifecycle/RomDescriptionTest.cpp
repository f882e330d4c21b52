#include "inspect/lifecycle/RomDescription.h"

#include "lib1394/ImageFile.h"

#include "rombus_support/HostileRoms.h"
#include "rombus_support/OverlappingRoms.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using rombus_test::RomLayout;

std::vector<uint8_t> roundTrip(const std::vector<uint8_t>& rom, std::string& why) {
    const std::string description = rombus::describeRom(rombus::decode::decodeRom(rom), why);
    if (description.empty())
        return {};
    return rombus::buildRom(description, why);
}

// Two units, the first with a dependent directory and a leaf: breadth first, the second unit
// comes before what the first holds.
RomLayout twoUnits() {
    RomLayout rom(0x0030E00000000042ull, 0xE0, 8);
    rom.directory({RomLayout::immediate(0x03, 0x0030E0), RomLayout::ref(0x81, 1),
                   RomLayout::ref(0xD1, 2), RomLayout::ref(0xD1, 3)});
    rom.textLeaf("Vendor");
    rom.directory(
        {RomLayout::immediate(0x12, 0x00A02D), RomLayout::ref(0xD4, 4), RomLayout::ref(0x82, 5)});
    rom.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x54, 0x4000)});
    rom.directory({RomLayout::immediate(0x38, 0x10)});
    rom.leaf({0x12345678, 0x9ABCDEF0});
    return rom;
}

// The ROM with the CRC of the block at `at` spoilt.
std::vector<uint8_t> withWrongCrc(std::vector<uint8_t> rom, size_t at) {
    rom[at + 3] ^= 0x5A;
    return rom;
}

TEST(RomDescription, DescribeThenBuildGivesBackEveryRomByteForByte) {
    const RomLayout layout = twoUnits();
    auto trailing = layout.image();
    trailing.insert(trailing.end(), {0xDE, 0xAD, 0xBE, 0xEF});
    auto oddBus = layout.image();
    oddBus[6] = 0x05;   // bus name "13\x054"
    oddBus[10] |= 0x04; // a reserved bus option bit
    auto past = layout.image();
    past[1] = 0xFF; // crc_length 255, and the CRC can no longer be known
    // Depth first: the first unit's blocks before the second unit.
    RomLayout depthFirst;
    depthFirst.directory({RomLayout::ref(0xD1, 1), RomLayout::ref(0xD1, 3)});
    depthFirst.directory({RomLayout::ref(0x81, 2)});
    depthFirst.textLeaf("A");
    depthFirst.directory({});
    // A gap between the root directory and its leaf, which refers past the ROM's end.
    RomLayout gap;
    gap.directory({RomLayout::ref(0x81, 2), RomLayout::immediate(0xD1, 0x100)});
    gap.leaf({0xCAFE0000});
    gap.leaf({0, 0, 0x42000000});
    // Wrong CRCs, data after the last block, blocks out of order, shared or apart are
    // described as they stand.
    std::vector<std::pair<std::string, std::vector<uint8_t>>> roms = {
        {"typical", rombus_bench::typicalRom()},
        {"two units", layout.image()},
        {"bus CRC", withWrongCrc(layout.image(), 0)},
        {"root CRC", withWrongCrc(layout.image(), 0x14)},
        {"text leaf CRC", withWrongCrc(layout.image(), layout.offsetOf(1))},
        {"unit CRC", withWrongCrc(layout.image(), layout.offsetOf(2))},
        {"leaf CRC", withWrongCrc(layout.image(), layout.offsetOf(5))},
        {"trailing", trailing},
        {"crc_length past the end", past},
        {"odd bus name and options", oddBus},
        {"depth first", depthFirst.image()},
        {"gap", gap.image()},
        {"shared", rombus_test::deepDoublingRom()},
        {"shared many times", rombus_test::lookupStormRom()}};
    for (const auto& file : std::filesystem::directory_iterator(ROMBUS_SOURCE_DIR "/tests/roms"))
        if (file.path().extension() == ".hex")
            roms.emplace_back(file.path().filename(),
                              lib1394::readImageFile(file.path().string()).rom);
    EXPECT_GE(roms.size(), 18u);
    for (const auto& [name, rom] : roms) {
        std::string why;
        EXPECT_EQ(roundTrip(rom, why), rom) << name << ": " << why;
    }
}

// Every "0x" number of the description: quadlets, entry values and offsets alike.
size_t hexNumbers(const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find("0x"); at != std::string::npos; at = text.find("0x", at + 2))
        ++count;
    return count;
}

TEST(RomDescription, BlocksThatOverlapAreDescribedOnceAndBuiltAgain) {
    for (const auto& [name, rom] : rombus_test::overlappingRoms()) {
        std::string why;
        const std::string description = rombus::describeRom(rombus::decode::decodeRom(rom), why);
        ASSERT_FALSE(description.empty()) << name << ": " << why;
        EXPECT_EQ(rombus::buildRom(description, why), rom) << name << ": " << why << description;
        // The bus information block gives two numbers (the GUID, the bus options by field);
        // every other quadlet is one number at most, whichever block or run describes it.
        EXPECT_LE(hexNumbers(description), rom.size() / 4 - 3) << name << ":\n" << description;
    }
    // The leaf inside the other is its entry's value; the quadlets of a leaf past the other's
    // end that no block holds are unreferenced, each once.
    std::string why;
    const auto roms = rombus_test::overlappingRoms();
    const std::string inner = rombus::describeRom(rombus::decode::decodeRom(roms[0].second), why);
    EXPECT_NE(inner.find("- bus_dependent_info: {value: 0x000003}\n"), std::string::npos) << inner;
    const std::string past = rombus::describeRom(rombus::decode::decodeRom(roms[1].second), why);
    EXPECT_NE(past.find("unreferenced:\n  0x30: [0x33333333, 0x44444444]\n"), std::string::npos)
        << past;
    // Written by hand, blocks may overlap where they agree; the ROM holds each quadlet once.
    const std::string agreeing = "guid: 1\nroot:\n  - descriptor: {at: 0x20, quadlets: [1, "
                                 "0x00010000, 0]}\n  - descriptor: {at: 0x28, quadlets: [0]}\n";
    const std::vector<uint8_t> built = rombus::buildRom(agreeing, why);
    EXPECT_EQ(built.size(), 0x30u) << why;
}

TEST(RomDescription, AHandWrittenDescriptionBuildsTheRomItSays) {
    const std::string description = R"(# A camera: names, keys by number, nested directories.
bus_info:
  irmc: 1
  cmc: 1
  isc: 1            # bmc and pmc left at 0
  max_rec: 8
guid: 0x0030E00000000042
root:
  - vendor: 0x0030E0
  - descriptor: "Vendor"
  - unit:
      - specifier_id: 0x00A02D
      - dependent_info:
          - 0x38: 16
      - bus_dependent_info: [0x12345678, 0x9abcdef0]
  - unit:
      - specifier_id: 0x00609E
      - 0x54: 0x4000   # a CSR offset by its key
)";
    std::string error;
    EXPECT_EQ(rombus::buildRom(description, error), twoUnits().image()) << error;
    EXPECT_EQ(rombus::buildRom("minimal_vendor_id: 0x00A02D\n", error),
              (std::vector<uint8_t>{0x01, 0x00, 0xA0, 0x2D}));
}

std::string repeated(const std::string& text, int times) {
    std::string out;
    while (times-- > 0)
        out += text;
    return out;
}

TEST(RomDescription, AMistakeInADescriptionIsToldWithItsLine) {
    const std::pair<std::string, std::string> wrong[] = {
        {"guid: 1\nroot:\n  - vendr: 1\n",
         "line 3: \"vendr\" is neither a key name nor a key 0xKK"},
        {"guid: 1\nroot:\n  - vendor: 0x1000000\n",
         "line 3: vendor: 0x1000000 is more than FFFFFFh"},
        {"guid: 1\nroot:\n  - unit: 5\n", "line 3: a directory is a list of entries"},
        {"guid: 1\nbus_info:\n  max_rec: 16\nroot: []\n", "line 3: max_rec: 16 is more than Fh"},
        {"guid: 1\nbus_info:\n  speed: 1\nroot: []\n",
         "line 3: \"speed\" is not a bus_info field:"},
        {"root: []\n", "line 1: the description has no guid"},
        {"guid: 1\nroot:\n  - unit: {crc: 1, entry: []}\n",
         "line 3: \"entry\" is not at, crc, entries or value"},
        {"guid: 1\nroot:\n  - descriptor: {entries: []}\n",
         "line 3: \"entries\" is not at, crc, text, quadlets or value"},
        {"guid: 1\nroot_crc: 0x10000\nroot: []\n", "line 2: crc: 0x10000 is more than FFFFh"},
        {"guid: 1\nroot:\n  - vendor: 1\n  - unit: {at: 0x18, entries: []}\n",
         "line 4: the block at 18h is not after its entry at 1Ch; an entry refers only forward"},
        {"guid: 1\nroot: []\nunreferenced: {0x22: [1]}\n",
         "line 3: 22h is not the offset of a quadlet"},
        // An alias that holds itself, and a leaf too long for a ROM.
        {"guid: 1\nroot:\n  - unit: &loop [{unit: *loop}]\n",
         "line 3: the blocks described take more than 256 quadlets"},
        {"guid: 1\nroot:\n  - descriptor: \"" + std::string(1100, 'x') + "\"\n",
         "line 3: the blocks described take more than 256 quadlets"},
        {"guid: 1\nroot:\n  - vendor: [1\n", "line 4: end of sequence flow not found"},
        {"guid: 1\nbus_info:\n  crc_length: 9\nroot: []\n",
         "line 3: crc_length 9 runs past the ROM's 6 quadlets"},
        // What the ROM could not hold as written: blocks that overlap with other quadlets, a
        // block inside the root directory, unreferenced quadlets over a header.
        {"guid: 1\nroot:\n  - descriptor: {at: 0x20, quadlets: [1, 2]}\n"
         "  - descriptor: {at: 0x24, quadlets: [3]}\n",
         "line 4: puts 0001"},
        {"guid: 1\nroot:\n  - vendor: 1\n  - descriptor: {at: 0x20, quadlets: [5]}\n"
         "  - model: 2\n  - 0x38: 1\n",
         "line 4: puts 0001"},
        {"guid: 1\nroot: []\nunreferenced: {0x14: [5]}\n",
         "line 3: puts 00000005 at 14h, where line 2 puts 00000000; what overlaps must agree"},
        {"guid: 1\nroot: []\nunreferenced: {0x4: [0x31333935]}\n",
         "line 3: puts 31333935 at 4h, where line 1 puts 31333934"},
        // A key or field given twice, a value of the wrong kind.
        {"guid: 1\nbus_info:\n  max_rec: 8\n  max_rec: 2\nroot: []\n",
         "line 4: \"max_rec\" is given again; line 3 gives it"},
        {"guid: 1\nroot: []\nguid: 2\n", "line 3: \"guid\" is given again; line 1 gives it"},
        {"guid: 1\nroot: []\nunreferenced: {0x40: [1], 0x40: [2]}\n",
         "line 3: 40h is given again; line 3 gives it"},
        {"guid: 1\nroot:\n  - descriptor: {crc: 1, crc: 2, quadlets: []}\n",
         "line 3: \"crc\" is given again"},
        {"guid: 1\nroot:\n  - descriptor: {text: [1, 2]}\n",
         "line 3: text is a text; a list of quadlets is quadlets"},
        {"guid: 1\nroot:\n  - descriptor: {quadlets: \"abc\"}\n",
         "line 3: quadlets is a list of quadlets; a text is text"},
        {"guid: 1\nroot:\n  - descriptor: {text: \"a\", quadlets: [1]}\n",
         "line 3: a leaf is a text or quadlets, not both"},
        {"guid: 1\nbus_info:\n  bus_name: [1]\nroot: []\n",
         "line 3: bus_name is a text of up to 4 characters or a number"},
        {"guid: 1\nroot:\n  - unit: {value: 4, at: 0x40}\n",
         "line 3: an entry given by its value has no block: value stands alone"},
        {"minimal_vendor_id: 1\nroot: []\n", "line 1: a minimal ROM is its vendor alone"},
        // A file with nothing in it stands on no line.
        {"", "the description is empty: a description is a map"},
        {"\n\n", "the description is empty: a description is a map"},
        // Nested deeper than any ROM nests, in flow or block style: refused before the parser
        // goes deeper.
        {"guid: 1\nroot:\n  - unit: " + repeated("[", 100000) + "\n",
         "line 3: the description nests lists and maps more than 400 deep"},
        {"guid: 1\nroot:\n  - unit:\n" + repeated("{a: ", 3000) + "\n",
         "line 4: the description nests lists and maps more than 400 deep"},
        // Far more values than any ROM needs: refused as they are read.
        {"guid: 1\nroot: []\nunreferenced: {0x40: [" + repeated("1, ", 5000) + "1]}\n",
         "line 3: the description holds more than 4096 values and keys"},
    };
    for (const auto& [description, message] : wrong) {
        std::string error;
        EXPECT_TRUE(rombus::buildRom(description, error).empty()) << description;
        EXPECT_EQ(error.substr(0, message.size()), message) << description;
    }
}

TEST(RomDescription, DirectoriesNestedAsDeepAsARomHoldsThemBuild) {
    // 123 directories each within the one before, each written out as a block: the deepest a ROM
    // of 256 quadlets nests.
    std::string description = "guid: 1\nroot:\n";
    std::string indent = "  ";
    for (int level = 0; level < 123; ++level) {
        description += indent + "- unit:\n" + indent + "    crc: 0\n" + indent + "    entries:\n";
        indent += "      ";
    }
    description += indent + "- descriptor: {quadlets: [1]}\n";
    std::string error;
    const std::vector<uint8_t> rom = rombus::buildRom(description, error);
    EXPECT_EQ(rom.size(), 4u * (5 + 2 + 2 * 123 + 2)) << error;
}

TEST(RomDescription, ARomThatCannotBeBuiltAgainIsRefusedWithTheReason) {
    auto cut = twoUnits().image();
    cut.resize(cut.size() - 4);
    auto shortBusInfo = twoUnits().image();
    shortBusInfo[0] = 0x02; // info_length 2
    const std::pair<std::vector<uint8_t>, std::string> refused[] = {
        {cut, "the block at 60h runs past the end of the ROM"},
        {shortBusInfo, "at 0h it holds 02"},
    };
    for (const auto& [rom, reason] : refused) {
        std::string why;
        EXPECT_EQ(rombus::describeRom(rombus::decode::decodeRom(rom), why), "");
        EXPECT_NE(why.find(reason), std::string::npos) << why;
        // The description is never shown: no line of it is cited.
        EXPECT_EQ(why.find("line "), std::string::npos) << why;
    }
}

TEST(RomDescription, QuadletsOnlyTheBusCrcCoversAreDescribedAsUnreferenced) {
    // A root directory of one entry, then two quadlets no block reaches that crc_length covers
    // all the same: a clean ROM.
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 0x00A02D)});
    std::vector<uint32_t> q = layout.quadlets();
    q.push_back(0x00000005);
    q.push_back(0x00000006);
    const uint32_t crcLength = static_cast<uint32_t>(q.size()) - 1;
    q[0] = 0x04000000 | crcLength << 16 | rombus_test::crc16(q, 1, crcLength);
    const std::vector<uint8_t> rom = rombus_test::busOrderBytes(q);
    std::string why;
    const std::string description = rombus::describeRom(rombus::decode::decodeRom(rom), why);
    ASSERT_FALSE(description.empty()) << why;
    EXPECT_NE(description.find("unreferenced:\n  0x1C: [0x00000005, 0x00000006]"),
              std::string::npos)
        << description;
    EXPECT_EQ(rombus::buildRom(description, why), rom) << why;
}

} // namespace
