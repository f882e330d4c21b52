// The class of each record (a fault, or permitted by a named standard), the verdict of each node
// and what fails an inspection, by default and when strict.
#include "inspect/verdicts/VerdictClasses.h"
#include "inspect/model/Inspection.h"
#include "lib1394/ImageFile.h"
#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using rombus::NodeVerdict;
using rombus::RecordClass;
using rombus_test::RomLayout;

// Image files read as one port, no registry, no log line.
rombus::Inspection inspectImages(const std::vector<std::vector<uint8_t>>& roms,
                                 bool strict = false) {
    std::vector<lib1394::ImageFile> images;
    for (size_t i = 0; i < roms.size(); ++i) {
        lib1394::ImageFile image;
        image.path = "rom" + std::to_string(i) + ".bin";
        image.rom = roms[i];
        images.push_back(image);
    }
    rombus::Settings settings;
    settings.logLevel = 9;
    settings.strict = strict;
    return rombus::inspect(std::make_shared<lib1394::ImageFileBus>(images), settings);
}

// A root directory with a vendor id, the given entry and a unit directory of the given
// specifier and version holding unit entries.
std::vector<uint8_t> romWith(RomLayout::Item rootEntry, uint32_t specifier, uint32_t version,
                             std::vector<RomLayout::Item> unitEntries = {}) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 0xACDE48), rootEntry, RomLayout::ref(0xD1, 1)});
    std::vector<RomLayout::Item> unit = {RomLayout::immediate(0x12, specifier),
                                         RomLayout::immediate(0x13, version)};
    unit.insert(unit.end(), unitEntries.begin(), unitEntries.end());
    layout.directory(unit);
    return layout.image();
}

constexpr uint32_t Iidc = 0x00A02D;
constexpr uint32_t Iidc130 = 0x000102;
constexpr uint32_t Sbp2 = 0x00609E, Sbp2Version = 0x010483;

TEST(VerdictClasses, AKeyOutsideWhereItsStandardPutsItIsAFault) {
    // Key 40h in an SBP-2 unit and in a unit of a version past IIDC 1.30 (103h), and key 08h in
    // a unit directory: no standard known puts them there.
    const std::vector<uint8_t> sbp2 = romWith(RomLayout::immediate(0x0C, 0x0083C0), Sbp2,
                                              Sbp2Version, {RomLayout::immediate(0x40, 0x3C0000)});
    const std::vector<uint8_t> unitNodeVendor =
        romWith(RomLayout::immediate(0x0C, 0x0083C0), Sbp2, Sbp2Version,
                {RomLayout::immediate(0x08, 0xACDE48)});
    const std::vector<uint8_t> laterIidc =
        romWith(RomLayout::immediate(0x0C, 0x0083C0), Iidc, Iidc130 + 1,
                {RomLayout::immediate(0x40, 0x3C0000)});
    for (const auto& rom : {sbp2, unitNodeVendor, laterIidc}) {
        // The tool's checks of each permitted kind are in tests/tools; these are their edges.
        const rombus::Inspection inspection = inspectImages({rom});
        const rombus::NodeView& node = inspection.nodes.at(0);
        ASSERT_EQ(node.verdicts.size(), 1u);
        EXPECT_EQ(node.verdicts[0].recordClass, RecordClass::Fault);
        EXPECT_TRUE(node.verdicts[0].standard.empty());
        EXPECT_EQ(rombus::verdictOf(node), NodeVerdict::Fault);
        EXPECT_TRUE(rombus::hasProblems(inspection));
    }
}

// A root directory with a vendor id and node capabilities, and nothing to say against it.
std::vector<uint8_t> cleanRom(uint64_t guid) {
    RomLayout layout(guid);
    layout.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0)});
    return layout.image();
}

TEST(VerdictClasses, TheSummaryCountsNodesByVerdictTheWorstFirst) {
    std::vector<uint8_t> badCrc = cleanRom(0xACDE480000000002ull);
    badCrc[23] ^= 0x01; // the root directory's stored CRC
    // A bus information block with a reserved max_rec of 15: an advisory, no record.
    RomLayout reserved(0xACDE480000000003ull, 0xE0, 15);
    reserved.directory(
        {RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0)});
    const std::vector<uint8_t> minimal = rombus_test::busOrderBytes({0x01ACDE48});

    const rombus::Inspection inspection =
        inspectImages({cleanRom(0xACDE480000000001ull), minimal, badCrc, reserved.image(),
                       cleanRom(0xACDE480000000004ull)});
    ASSERT_EQ(inspection.nodes.size(), 5u);
    EXPECT_EQ(rombus::verdictOf(inspection.nodes[3]), NodeVerdict::AdvisoryOnly);
    EXPECT_EQ(rombus::verdictSummary(inspection.nodes),
              "By verdict: 1 with faults, 1 permitted only, 1 with advisories only, 2 clean.");
    EXPECT_EQ(rombus::verdictSummary({}), "");
    // A permitted record and an advisory fail a node only when strict.
    for (const auto& rom : {minimal, reserved.image()}) {
        EXPECT_FALSE(rombus::hasProblems(inspectImages({rom})));
        EXPECT_TRUE(rombus::hasProblems(inspectImages({rom}, true)));
    }
    EXPECT_EQ(std::string(rombus::verdictName(NodeVerdict::PermittedOnly)), "permitted only");
}

} // namespace
