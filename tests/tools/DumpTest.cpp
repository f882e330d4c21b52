// The annotated dump and the advisories of the decoder, on ROMs laid out byte for byte.
#include "Dump.h"
#include "TextReport.h"
#include "inspect/model/Inspection.h"

#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using rombus_test::BusInfo;
using rombus_test::RomLayout;
using testing::HasSubstr;

// Reads the images as the nodes of one port, node n having the GUID guids[n] when given.
rombus::Inspection scanOf(const std::vector<std::vector<uint8_t>>& roms,
                          const std::vector<uint64_t>& guids = {}) {
    lib1394::RomPort port{"test", {}};
    for (size_t n = 0; n < roms.size(); ++n) {
        lib1394::RomNode node;
        node.rom = roms[n];
        node.guid = n < guids.size() ? guids[n] : lib1394::guidOfRom(roms[n]);
        port.nodes.push_back(node);
    }
    rombus::Settings settings;
    settings.logLevel = 5;
    return rombus::inspect(
        std::make_shared<lib1394::RomImageBus>(std::vector<lib1394::RomPort>{port}), settings);
}

std::vector<std::string> kinds(const rombus::Inspection& scan, size_t node) {
    std::vector<std::string> out;
    for (const rombus::Advisory& advisory : scan.nodes[node].advisories)
        out.push_back(advisory.kind);
    return out;
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

void expectWithin(const std::string& text, size_t width) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), width) << line;
}

// Seven textual descriptors whose stored CRCs are all wrong: the module stops at the first,
// the dump shows what each should be.
std::vector<uint8_t> sevenBadCrcs() {
    RomLayout layout;
    std::vector<RomLayout::Item> items = {RomLayout::immediate(0x03, 0x00A027)};
    for (int leaf = 1; leaf <= 7; ++leaf)
        items.push_back(RomLayout::ref(0x81, leaf));
    layout.directory(items);
    for (int leaf = 1; leaf <= 7; ++leaf)
        layout.textLeaf("Leaf " + std::to_string(leaf));
    std::vector<uint32_t> quadlets = layout.quadlets();
    for (int leaf = 1; leaf <= 7; ++leaf)
        quadlets[layout.offsetOf(leaf) / 4] ^= 0x00005A5A;
    // The root directory's CRC still covers the same entries.
    return rombus_test::busOrderBytes(quadlets);
}

TEST(Dump, SevenBadCrcsShowSevenShouldBeValuesOneRecordAndSixAdvisories) {
    const rombus::Inspection scan = scanOf({sevenBadCrcs()});
    const std::string dump = rombus::dumpNode(scan.nodes[0], 100);
    EXPECT_EQ(count(dump, ": should be "), 7u);
    EXPECT_EQ(scan.nodes[0].records.size(), 1u);
    EXPECT_EQ(kinds(scan, 0), std::vector<std::string>(6, "unchecked-crc"));
    EXPECT_EQ(count(dump, "^ error: Leaf - Descriptor CRC check failed"), 1u);
    EXPECT_EQ(count(dump, "^ advisory: the CRC"), 6u);
    // The stored CRCs are the right ones with bits flipped: no firmware mistake gives them.
    EXPECT_EQ(count(dump, "^ means: the leaf at "), 1u);
    EXPECT_EQ(count(dump, "No known cause."), 1u);
    expectWithin(dump, 100);
    expectWithin(rombus::dumpNode(scan.nodes[0], 60), 60);
    // The whole report keeps to the narrowest width too, its summary of every kind included.
    const rombus::Inspection many = scanOf({sevenBadCrcs(), {}, {0x04}}, {1, 2, 3});
    rombus::Layout narrow;
    narrow.width = 60;
    narrow.dump = true;
    const std::string report = rombus::textReport(many, "", narrow);
    EXPECT_THAT(report, HasSubstr("By kind:"));
    expectWithin(report, 60);
}

TEST(Dump, EveryQuadletHasItsMeaning) {
    RomLayout layout(BusInfo{0x0030E00000000001ull, 0xE0, 100, 8, 2});
    layout.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x81, 3),
                      RomLayout::ref(0x8D, 2), RomLayout::ref(0xD1, 1),
                      RomLayout::immediate(0x54, 0x004000)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::ref(0x81, 3), RomLayout::immediate(0xD8, 0x7FFFFF)});
    layout.leaf({0x0030E000, 0x00000001});
    layout.textLeaf("Disk\x01");
    std::vector<uint8_t> rom = layout.image();
    rom.insert(rom.end(), {0xDE, 0xAD, 0xBE, 0xEF});
    const rombus::Inspection scan = scanOf({rom});
    const std::string dump = rombus::dumpNode(scan.nodes[0], 100);
    for (const char* line : {
             "000  FFFFF0000400  0404",
             "bus information block: info_length 4, crc_length 4 (the ROM holds ",
             "004  FFFFF0000404  31333934  bus_name \"1394\"\n",
             "bus options: irmc 1 cmc 1 isc 1 bmc 0 pmc 0, cyc_clk_acc 100 ppm,",
             "max_rec 8 (512 bytes), max_ROM 0, generation 0, link_spd 2 (S400)",
             "GUID: node_vendor_id 0030E0h, chip_id_hi 00h",
             "014  FFFFF0000414  0005",
             "018  FFFFF0000418  0300A027  key 03h: immediate, id 03h \"Immediate - Vendor\" = "
             "00A027h\n",
             "key 54h: CSR offset, id 14h \"CSR Offset - Dependent Information\" =",
             "004000h: CSR address FFFFF0010000",
             "key D1h: directory, id 11h \"Directory - Unit\" -> ",
             "\"Leaf - Descriptor\" -> 4Ch, shown before",
             "\"Directory - Instance\" -> 2000038h, outside",
             "EUI-64: company id 0030E0h, chip id high 00h",
             "EUI-64: chip id low 00000001h",
             "descriptor_type 0, specifier_ID 000000h",
             "width 0, character_set 0, language 0",
             "text \"Disk\"",
             "text \"\\x01\"",
             "DEADBEEF  not reached from the root directory",
         })
        EXPECT_THAT(dump, HasSubstr(line));
    EXPECT_EQ(count(dump, "CRC ok"), 5u);
    expectWithin(dump, 100);
}

TEST(Dump, AQuadletOfTwoOverlappingBlocksKeepsBothMeanings) {
    // The root directory claims one quadlet more than its three entries: the leaf's header.
    RomLayout layout;
    layout.directory(
        {RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x81, 1), RomLayout::ref(0xD1, 2)});
    layout.textLeaf("Disk");
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483)});
    std::vector<uint32_t> quadlets = layout.quadlets();
    quadlets[5] = 4u << 16 | rombus_test::crc16(quadlets, 6, 4);
    const rombus::Inspection scan = scanOf({rombus_test::busOrderBytes(quadlets)});
    const std::string dump = rombus::dumpNode(scan.nodes[0], 100);
    EXPECT_THAT(dump, HasSubstr("014  FFFFF0000414  0004"));
    EXPECT_THAT(dump, HasSubstr("\n024  FFFFF0000424  0003"));
    EXPECT_THAT(dump, HasSubstr("  leaf \"Leaf - Descriptor\", length 3, CRC "));
    EXPECT_THAT(dump, HasSubstr("CRC ok; also key 00h:"));
    // The module refuses the leaf's header as an entry of the root directory.
    EXPECT_THAT(dump, HasSubstr("^ means: the entry at 24h, key 00h (Immediate - Root)"));
    EXPECT_THAT(dump, HasSubstr("^ advisory: the directory at 14h declares 4 quadlets, up to 28h: "
                                "the leaf\n"));
    const std::vector<std::string> found = kinds(scan, 0);
    EXPECT_EQ(std::count(found.begin(), found.end(), "block-overlap"), 1);
    EXPECT_THAT(dump, HasSubstr("directory \"Directory - Unit\" (SBP-2 (storage)), length 2"));
}

TEST(Dump, EachAdvisoryHasItsRom) {
    // The unit directory's CRC taken over byte-reversed quadlets: the module accepts it. Its
    // GUID is its own, so that no node shares another's.
    RomLayout reversedLayout(BusInfo{0x0030E00000000001ull});
    reversedLayout.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0xD1, 1)});
    reversedLayout.directory(
        {RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483)});
    std::vector<uint32_t> reversed = reversedLayout.quadlets();
    const size_t unit = reversedLayout.offsetOf(1) / 4;
    const std::vector<uint32_t> swapped = {0x9E600012, 0x83040113};
    reversed[unit] = 2u << 16 | rombus_test::crc16(swapped, 0, 2);
    // Bus options with reserved values, an EUI-64 leaf of another GUID, a directory cut short.
    RomLayout odd(BusInfo{0x0030E00000000002ull, 0xE7, 255, 0, 7});
    odd.directory(
        {RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x8D, 1), RomLayout::ref(0xD1, 2)});
    odd.leaf({0x0030E000, 0x00000099});
    odd.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                   RomLayout::immediate(0x17, 1)});
    std::vector<uint8_t> cut = odd.image();
    cut.resize(cut.size() - 4);

    const rombus::Inspection scan =
        scanOf({rombus_test::busOrderBytes(reversed), cut, RomLayout().image()},
               {0, 0, 0x0102030405060708ull});
    EXPECT_TRUE(scan.nodes[0].records.isEmpty());
    EXPECT_EQ(kinds(scan, 0), std::vector<std::string>{"reversed-crc"});
    EXPECT_THAT(scan.nodes[0].advisories[0].text,
                HasSubstr("matches its quadlets only with their bytes "
                          "reversed"));
    EXPECT_EQ(kinds(scan, 1),
              (std::vector<std::string>{"past-end", "eui64-mismatch", "reserved-bus-option",
                                        "reserved-bus-option", "reserved-bus-option",
                                        "reserved-bus-option"}));
    EXPECT_THAT(scan.nodes[1].advisories[0].text,
                HasSubstr("declares 3 quadlets; the ROM holds 2"));
    EXPECT_THAT(scan.nodes[1].advisories[1].text, HasSubstr("holds 0030E00000000099; the bus "
                                                            "information block's GUID is "
                                                            "0030E00000000002"));
    EXPECT_EQ(kinds(scan, 2), std::vector<std::string>{"sysfs-guid-mismatch"});
    // What the kernel's guid file says is worth knowing, not a fault of the ROM.
    EXPECT_EQ(scan.nodes[2].advisories[0].severity, rombus::Severity::Note);
    EXPECT_FALSE(rombus::hasAdvisories(scanOf({RomLayout().image()}, {0x0102030405060708ull})));
    // The unit directory's header names its protocol.
    EXPECT_THAT(rombus::dumpNode(scan.nodes[1], 100),
                HasSubstr("directory \"Directory - Unit\" (SBP-2 (storage)), length 3, CRC 383Eh,\n"
                          "                             not known: the ROM"));
}

} // namespace
