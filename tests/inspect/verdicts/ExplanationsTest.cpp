// The explanation of each record and the advisories beside them, on ROMs laid out byte for byte
// and then given the CRC a known firmware mistake computes. The expected CRCs come from the
// layout's own CRC, computed bit by bit, never from the explanations.
#include "inspect/verdicts/Explanations.h"
#include "inspect/model/Inspection.h"

#include "rombus_support/RomLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using rombus_test::BusInfo;
using rombus_test::crc16;
using rombus_test::RomLayout;
using testing::HasSubstr;
using testing::Not;
using Ids = std::vector<std::string>;

struct Node {
    std::vector<uint32_t> rom;
    std::string label = "test.hex";
    std::vector<uint32_t> kernelRom; // the kernel's copy, beside a ROM read live
};

rombus::Inspection scanOf(const std::vector<Node>& nodes, unsigned crcLevel = 2) {
    lib1394::RomPort port{"test", {}};
    for (const Node& each : nodes) {
        lib1394::RomNode node;
        node.rom = rombus_test::busOrderBytes(each.rom);
        node.guid = lib1394::guidOfRom(node.rom);
        node.label = each.label;
        node.kernelRom = rombus_test::busOrderBytes(each.kernelRom);
        port.nodes.push_back(node);
    }
    rombus::Settings settings;
    settings.logLevel = 5;
    settings.crcLevel = crcLevel;
    return rombus::inspect(
        std::make_shared<lib1394::RomImageBus>(std::vector<lib1394::RomPort>{port}), settings);
}

uint32_t reversed(uint32_t q) {
    return q >> 24 | (q >> 8 & 0xFF00) | (q << 8 & 0xFF0000) | q << 24;
}

uint16_t swapped(uint16_t crc) {
    return static_cast<uint16_t>(crc << 8 | crc >> 8);
}

// A root directory with a vendor, a text leaf and an SBP-2 unit directory of three entries.
struct Disk {
    RomLayout layout;
    int leaf, unit;
    Disk() {
        layout.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x81, 1),
                          RomLayout::ref(0xD1, 2)});
        leaf = layout.textLeaf("Example");
        unit =
            layout.directory({RomLayout::immediate(0x12, 0x00609E),
                              RomLayout::immediate(0x13, 0x010483), RomLayout::immediate(0x17, 1)});
    }
    size_t at(int block) const { return layout.offsetOf(block) / 4; }
};

// The block's header with the CRC of its quadlets over the given span, as firmware computed it.
uint32_t headerWith(const std::vector<uint32_t>& rom, size_t header, uint16_t crc) {
    return (rom[header] & 0xFFFF0000) | crc;
}

uint16_t littleEndianCrc(const std::vector<uint32_t>& rom, size_t first, size_t count) {
    std::vector<uint32_t> quadlets(rom.begin() + first, rom.begin() + first + count);
    std::transform(quadlets.begin(), quadlets.end(), quadlets.begin(), reversed);
    return crc16(quadlets, 0, quadlets.size());
}

const rombus::decode::RomBlock& blockAt(const rombus::decode::DecodedRom& decoded,
                                        uint32_t offset) {
    for (const auto& block : decoded.blocks)
        if (block.offset == offset)
            return block;
    throw std::logic_error("no block there");
}

TEST(CrcCauses, EachFirmwareMistakeIsNamedAndTheFixRestoresTheHeader) {
    const Disk disk;
    const std::vector<uint32_t> good = disk.layout.quadlets();
    const size_t n = good.size(), root = disk.at(0), leaf = disk.at(disk.leaf),
                 unit = disk.at(disk.unit);
    const uint32_t leafLength = good[leaf] >> 16;
    std::vector<uint32_t> withHeader = {leafLength << 16};
    withHeader.insert(withHeader.end(), good.begin() + leaf + 1,
                      good.begin() + leaf + 1 + leafLength);
    struct Case {
        const char* what;
        size_t header;
        uint32_t stored;
        Ids ids;
        const char* text;
        uint32_t fix; // the header with its lengths as they are and the right CRC
    };
    const uint32_t wholeRom = 0x04000000u | uint32_t(n - 1) << 16;
    const Case cases[] = {
        {"placeholder",
         root,
         headerWith(good, root, 0xFFFF),
         {"placeholder"},
         "FFFFh is a ",
         good[root]},
        {"zero", unit, headerWith(good, unit, 0), {"placeholder"}, "never computed", good[unit]},
        {"whole ROM",
         0,
         0x04040000u | crc16(good, 1, n - 1),
         {"length-whole-rom"},
         "over the whole ROM (17 quadlets) instead of crc_length (4)",
         good[0]},
        {"info_length",
         0,
         wholeRom | crc16(good, 1, 4),
         {"length-info"},
         "over info_length (4 quadlets) instead of crc_length (17)",
         wholeRom | crc16(good, 1, n - 1)},
        {"one quadlet too few",
         unit,
         headerWith(good, unit, crc16(good, unit + 1, 2)),
         {"length-quadlets"},
         "over 2 quadlets instead of the 3 quadlets its header declares",
         good[unit]},
        {"header included",
         leaf,
         headerWith(good, leaf, crc16(withHeader, 0, withHeader.size())),
         {"header-included"},
         "with its header quadlet included",
         good[leaf]},
        {"little-endian",
         unit,
         headerWith(good, unit, littleEndianCrc(good, unit + 1, 3)),
         {"little-endian"},
         "over little-endian quadlets",
         good[unit]},
        {"bytes swapped",
         root,
         headerWith(good, root, swapped(crc16(good, root + 1, 3))),
         {"bytes-swapped"},
         "stored with its two bytes swapped",
         good[root]},
        {"little-endian and swapped",
         unit,
         headerWith(good, unit, swapped(littleEndianCrc(good, unit + 1, 3))),
         {"little-endian", "bytes-swapped"},
         "over little-endian quadlets (each quadlet's bytes reversed) and stored with its two",
         good[unit]},
        {"too few and swapped",
         unit,
         headerWith(good, unit, swapped(crc16(good, unit + 1, 2))),
         {"length-quadlets", "bytes-swapped"},
         "over 2 quadlets instead of",
         good[unit]},
        {"unknown", unit, headerWith(good, unit, 0x1234), {}, "", good[unit]},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<uint32_t> rom = good;
        rom[c.header] = c.stored;
        const auto decoded = rombus::decode::decodeRom(rombus_test::busOrderBytes(rom));
        const auto& block = blockAt(decoded, 4 * static_cast<uint32_t>(c.header));
        const rombus::CrcCause cause = rombus::crcCauseOf(decoded, block);
        EXPECT_EQ(cause.ids, c.ids);
        EXPECT_THAT(cause.text, HasSubstr(c.text));
        EXPECT_EQ(rombus::fixedHeader(decoded, block), c.fix);
    }
    // A right CRC has no cause.
    const auto decoded = rombus::decode::decodeRom(rombus_test::busOrderBytes(good));
    EXPECT_FALSE(rombus::crcCauseOf(decoded, blockAt(decoded, 4 * uint32_t(unit))).known());
}

TEST(Explanations, ACrcRecordGivesTheDumpsNumbersTheFixAndTheCauseOnceForTheRom) {
    const Disk disk;
    const std::vector<uint32_t> good = disk.layout.quadlets();
    // A placeholder in the bus information block alone; every block little-endian and swapped.
    std::vector<uint32_t> placeholder = good;
    placeholder[0] = headerWith(good, 0, 0xFFFF);
    std::vector<uint32_t> camera = good;
    for (size_t header : {size_t{0}, disk.at(0), disk.at(disk.leaf), disk.at(disk.unit)}) {
        const size_t count = header == 0 ? 4 : good[header] >> 16;
        camera[header] =
            headerWith(good, header, swapped(littleEndianCrc(good, header + 1, count)));
    }
    const rombus::Inspection scan = scanOf({{placeholder}, {camera}});

    const rombus::NodeView& first = scan.nodes[0];
    ASSERT_EQ(first.explanations.size(), 1u);
    const rombus::Explanation& crc = first.explanations[0];
    EXPECT_EQ(crc.kind, "crc");
    EXPECT_EQ(crc.offset, 0u);
    EXPECT_EQ(crc.storedCrc, 0xFFFF);
    EXPECT_EQ(crc.correctCrc, good[0] & 0xFFFF);
    EXPECT_EQ(crc.fix, good[0]);
    EXPECT_EQ(crc.causes, Ids{"placeholder"});
    EXPECT_FALSE(crc.causeOfEveryBadCrc);
    char expected[80];
    std::snprintf(expected, sizeof expected,
                  "stores CRC FFFFh; its CRC is %04Xh: store %08Xh at 0h", good[0] & 0xFFFF,
                  good[0]);
    EXPECT_THAT(crc.note, HasSubstr(expected));
    EXPECT_THAT(crc.note, HasSubstr("Cause: FFFFh is a placeholder"));
    // The module stopped at the bus information block; the decoder's reading still stands.
    EXPECT_TRUE(first.beyondVerdict);
    ASSERT_EQ(first.decoded.units.size(), 1u);
    EXPECT_EQ(first.decoded.units[0].specifier, 0x00609Eu);

    const rombus::NodeView& second = scan.nodes[1];
    ASSERT_EQ(second.explanations.size(), 1u);
    EXPECT_EQ(second.explanations[0].causes, (Ids{"little-endian", "bytes-swapped"}));
    EXPECT_TRUE(second.explanations[0].causeOfEveryBadCrc);
    EXPECT_THAT(second.explanations[0].note, Not(HasSubstr("Cause")));
    EXPECT_THAT(rombus::sharedCrcCause(second.decoded),
                HasSubstr("Every wrong CRC of this ROM has one cause: the CRC was computed over "
                          "little-endian quadlets"));
    EXPECT_EQ(rombus::sharedCrcCause(first.decoded), "");
}

TEST(Explanations, AnEntryRecordNamesTheEntryItsOlderMeaningOrTheUnitThatDefinesIt) {
    // IEEE 1212-1994's Node_Vendor_Id (08h) in the root directory.
    RomLayout old;
    old.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::immediate(0x08, 0x00A027),
                   RomLayout::immediate(0x0C, 0x0083C0)});
    // An IIDC 1.30 camera with its register base in the unit-dependent directory; a GUID of its
    // own, as two nodes of one bus have.
    RomLayout camera(0x00A0270000000001ull);
    camera.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0xD1, 1)});
    camera.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x000102),
                      RomLayout::ref(0xD4, 2)});
    camera.directory({RomLayout::immediate(0x40, 0x3C0000)});
    const rombus::Inspection scan = scanOf({{old.quadlets()}, {camera.quadlets()}});

    const auto& found = scan.nodes[0].explanations;
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, "entry");
    EXPECT_EQ(found[0].offset, 28u);
    EXPECT_EQ(found[0].key, 0x08);
    EXPECT_THAT(found[0].note, HasSubstr("the entry at 1Ch, key 08h (Immediate - "));
    EXPECT_THAT(found[0].note, HasSubstr("Key 08h was Node_Vendor_Id in IEEE 1212-1994, "
                                         "superseded"));
    EXPECT_THAT(found[0].note, HasSubstr("Vendor entry (key 03h)"));

    const auto& iidc = scan.nodes[1].explanations;
    ASSERT_EQ(iidc.size(), 1u);
    EXPECT_EQ(iidc[0].offset, camera.offsetOf(2) + 4);
    EXPECT_EQ(iidc[0].key, 0x40);
    EXPECT_EQ(iidc[0].definedBy, "IIDC 1.30 (digital camera)");
    EXPECT_THAT(iidc[0].note, HasSubstr("command_regs_base"));
    // The explanation replaces the advisory that seemed to contradict the record.
    EXPECT_TRUE(scan.nodes[1].advisories.empty());
}

TEST(Explanations, AReadPastTheKernelsCopyAndAWrongSignatureSayWhatTheRomHolds) {
    // crc_length claims 10 quadlets; the image ends after the root directory's header.
    std::vector<uint32_t> cut = RomLayout().quadlets();
    cut.resize(5);
    cut[0] = 0x040A0000 | crc16(cut, 1, 4);
    BusInfo wrongName;
    wrongName.busName = "1395";
    RomLayout named(wrongName);
    named.directory({RomLayout::immediate(0x03, 0x00A027)});
    const rombus::Inspection scan = scanOf({{cut, "fw3"}, {cut, "cut.hex"}, {named.quadlets()}});

    ASSERT_EQ(scan.nodes[0].explanations.size(), 1u);
    const rombus::Explanation& read = scan.nodes[0].explanations[0];
    EXPECT_EQ(read.kind, "read");
    EXPECT_EQ(read.offset, 4u);
    EXPECT_THAT(read.note, HasSubstr("the module read 40 bytes at 4h, up to byte 2Ch; the ROM "
                                     "holds 20 bytes (5 quadlets)"));
    EXPECT_THAT(read.note, HasSubstr("The kernel's copy ends at quadlet 4; the device's own ROM "
                                     "may hold the rest."));
    EXPECT_THAT(scan.nodes[1].explanations.at(0).note, Not(HasSubstr("kernel")));

    const rombus::Explanation& signature = scan.nodes[2].explanations.at(0);
    EXPECT_EQ(signature.kind, "signature");
    EXPECT_THAT(signature.note, HasSubstr("quadlet 1 holds 31333935h (\"1395\")"));
    EXPECT_TRUE(scan.nodes[2].beyondVerdict);
}

std::vector<std::string> kinds(const rombus::NodeView& node) {
    std::vector<std::string> out;
    for (const rombus::Advisory& advisory : node.advisories)
        out.push_back(advisory.kind + (advisory.severity == rombus::Severity::Note ? "/note" : ""));
    return out;
}

TEST(Advisories, OnlyValuesAStandardForbidsAreFlagged) {
    // cyc_clk_acc means nothing without cmc; a cycle master's clock is within 100 ppm.
    const rombus::Inspection scan = scanOf({{RomLayout(BusInfo{1, 0xA0, 255}).quadlets()},
                                            {RomLayout(BusInfo{2, 0xE0, 100}).quadlets()},
                                            {RomLayout(BusInfo{3, 0xE0, 101}).quadlets()}});
    EXPECT_EQ(kinds(scan.nodes[0]), Ids{});
    EXPECT_EQ(kinds(scan.nodes[1]), Ids{});
    EXPECT_EQ(kinds(scan.nodes[2]), Ids{"reserved-bus-option"});
    EXPECT_THAT(scan.nodes[2].advisories[0].text, HasSubstr("cyc_clk_acc 101 on a cycle master"));
}

TEST(Advisories, AWrongCrcTheModuleLetPassSaysSoAtEachLevel) {
    // The leaf's CRC wrong: at level 2 the module records it, below it checks and lets it pass.
    const Disk disk;
    std::vector<uint32_t> rom = disk.layout.quadlets();
    const size_t leaf = disk.at(disk.leaf);
    rom[leaf] = headerWith(rom, leaf, 0xFFFF);
    for (unsigned level : {0u, 1u}) {
        SCOPED_TRACE(level);
        const rombus::Inspection scan = scanOf({{rom}}, level);
        EXPECT_TRUE(scan.nodes[0].records.isEmpty());
        ASSERT_EQ(kinds(scan.nodes[0]), Ids{"unchecked-crc"});
        EXPECT_THAT(scan.nodes[0].advisories[0].text,
                    HasSubstr("the module checked it and records no problem for it at "
                              "--crc-level " +
                              std::to_string(level) + ". Cause: FFFFh is a placeholder"));
    }
    EXPECT_EQ(kinds(scanOf({{rom}}, 2).nodes[0]), Ids{});
}

// A ROM read live beside the kernel's copy: the kernel keeps only what its walk reached, so two
// quadlets of data no entry names are missing from its copy (worth knowing, not a fault); a
// vendor id that differs between the two means the ROM changed since the kernel read it.
TEST(Advisories, WhereTheDevicesRomAndTheKernelsCopyDiffer) {
    const Disk disk;
    const std::vector<uint32_t> kernel = disk.layout.quadlets();
    std::vector<uint32_t> device = kernel;
    device.push_back(0x12345678);
    device.push_back(0x9ABCDEF0);
    std::vector<uint32_t> changed = kernel;
    changed[disk.at(0) + 1] = 0x03000001;
    const rombus::Inspection missing = scanOf({{device, "fw1", kernel}});
    EXPECT_EQ(kinds(missing.nodes[0]), Ids{"kernel-copy-kernel-missing/note"});
    EXPECT_EQ(missing.nodes[0].advisories[0].offset, 4 * kernel.size());
    EXPECT_FALSE(rombus::hasAdvisories(missing));
    const rombus::Inspection other = scanOf({{kernel, "fw1", changed}});
    EXPECT_EQ(kinds(other.nodes[0]), Ids{"kernel-copy-changed"});
    EXPECT_EQ(other.nodes[0].advisories[0].offset, 4 * (disk.at(0) + 1));
    EXPECT_TRUE(rombus::hasAdvisories(other));
    EXPECT_EQ(kinds(scanOf({{kernel, "fw1", kernel}}).nodes[0]), Ids{});
}

} // namespace
