// Nodes named and compared as the kernel and the other nodes of their bus see them: each node's
// own vendor names, GUIDs shared or never programmed, the kernel's modalias and local node, and
// the one-line listing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Dump.h"
#include "JsonReport.h"
#include "Listing.h"
#include "TextReport.h"
#include "inspect/model/Inspection.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"

#include <sstream>

namespace {

using rombus_test::RomLayout;
using testing::HasSubstr;
using testing::Not;

constexpr uint64_t Twin = 0x0030E00000000001ull;
// Wide enough that no line of these reports is broken.
constexpr size_t Wide = 200;

// A ROM with a vendor id and, when given, one unit directory of a specifier id and version.
std::vector<uint8_t> romOf(uint64_t guid, uint32_t vendor, uint32_t specifier = 0,
                           uint32_t version = 0) {
    RomLayout layout(guid);
    if (!specifier) {
        layout.directory({RomLayout::immediate(0x03, vendor)});
        return layout.image();
    }
    layout.directory({RomLayout::immediate(0x03, vendor), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, specifier), RomLayout::immediate(0x13, version)});
    return layout.image();
}

lib1394::RomNode nodeOf(std::vector<uint8_t> rom, const std::string& label) {
    lib1394::RomNode node;
    node.guid = lib1394::guidOfRom(rom);
    node.rom = std::move(rom);
    node.label = label;
    return node;
}

class Naming : public ::testing::Test {
protected:
    rombus::Inspection scan(std::vector<lib1394::RomNode> nodes) {
        rombus::Settings settings;
        settings.registry = folder_.write("registry.txt", "0030E0 Oxford Semiconductor\n"
                                                          "00609E NCITS\n"
                                                          "00A02D 1394 Trade Association\n"
                                                          "ACDE48 Example Maker\n");
        settings.logLevel = 5;
        return rombus::inspect(std::make_shared<lib1394::RomImageBus>(
                                   std::vector<lib1394::RomPort>{{"test", std::move(nodes)}}),
                               settings);
    }

    static std::vector<std::string> kinds(const rombus::NodeView& node) {
        std::vector<std::string> out;
        for (const rombus::Advisory& advisory : node.advisories)
            out.push_back(advisory.kind);
        return out;
    }

    static rombus::Layout wide() {
        rombus::Layout layout;
        layout.width = Wide;
        return layout;
    }

    rombus_test::TestFolder folder_;
};

TEST_F(Naming, TwinGuidsKeepEachTheirOwnVendorNames) {
    // Two ROMs of one GUID, the second of another vendor: a board carrying another's GUID.
    const rombus::Inspection inspection =
        scan({nodeOf(romOf(Twin, 0x0030E0), "a"), nodeOf(romOf(Twin, 0x00609E), "b")});
    const auto report = rombus::jsonReport(inspection);
    EXPECT_EQ(report["nodes"][0]["entries"][0]["vendorName"], "Oxford Semiconductor");
    EXPECT_EQ(report["nodes"][1]["entries"][0]["vendorName"], "NCITS");
    EXPECT_THAT(rombus::dumpNode(inspection.nodes[0], Wide), HasSubstr("\"Oxford Semiconductor\""));
    EXPECT_THAT(rombus::dumpNode(inspection.nodes[1], Wide),
                Not(HasSubstr("\"Oxford Semiconductor\"")));
    EXPECT_THAT(rombus::dumpNode(inspection.nodes[1], Wide), HasSubstr("\"NCITS\""));
    const std::string text = rombus::textReport(inspection, "", wide());
    const size_t second = text.find("Node 1  b");
    ASSERT_NE(second, std::string::npos);
    EXPECT_LT(text.find("\"Oxford Semiconductor\""), second);
    EXPECT_GT(text.find("\"NCITS\""), second);
    // Both are told of the other; only the one whose vendor is not the GUID's company is told
    // that it may carry another's GUID.
    EXPECT_EQ(kinds(inspection.nodes[0]), std::vector<std::string>{"shared-guid"});
    EXPECT_EQ(kinds(inspection.nodes[1]),
              (std::vector<std::string>{"shared-guid", "guid-company-mismatch"}));
    EXPECT_THAT(inspection.nodes[1].advisories[0].text, HasSubstr("node 0 of port 0 (a)"));
    EXPECT_THAT(inspection.nodes[1].advisories[1].text,
                HasSubstr("company id 0030E0h is not the vendor id 00609Eh"));
}

TEST_F(Naming, UnprogrammedGuidsAreAdvisedAndUniqueOnesAreNot) {
    const rombus::Inspection inspection =
        scan({nodeOf(romOf(0, 0x0030E0), "zeros"), nodeOf(romOf(~0ull, 0x0030E0), "ones"),
              nodeOf(romOf(Twin, 0x00609E), "unique")});
    EXPECT_EQ(kinds(inspection.nodes[0]), std::vector<std::string>{"guid-unset"});
    EXPECT_EQ(kinds(inspection.nodes[1]), std::vector<std::string>{"guid-unset"});
    EXPECT_TRUE(inspection.nodes[2].advisories.empty());
    EXPECT_EQ(inspection.nodes[0].advisories[0].offset, 12u);
}

TEST_F(Naming, TheKernelsModaliasIsShownAndAdvisedWhereItDiffers) {
    // The root names an instance directory's unit first, then its own unit: the kernel's fwN.0
    // is the root's unit, whose modalias sysfs shows as the ROM gives it.
    RomLayout layout(Twin);
    layout.directory(
        {RomLayout::immediate(0x03, 0xACDE48), RomLayout::ref(0xD8, 1), RomLayout::ref(0xD1, 3)});
    layout.directory({RomLayout::ref(0xD1, 2)});
    layout.directory({RomLayout::immediate(0x12, 0xACDE48), RomLayout::immediate(0x13, 7)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483)});
    lib1394::RomNode same = nodeOf(layout.image(), "fw1");
    same.unitModaliases = {"ieee1394:ven00ACDE48mo00000000sp0000609Ever00010483"};
    same.unitDrivers = {"firewire_sbp2"};
    same.local = true;
    lib1394::RomNode differs =
        nodeOf(romOf(0x00A02D0000000002ull, 0x00A02D, 0x00A02D, 0x000110), "fw2");
    differs.unitModaliases = {"ieee1394:ven00A02D00mo00000000sp0000A02Dver00000110"};
    const rombus::Inspection inspection = scan({same, differs});
    EXPECT_TRUE(inspection.nodes[0].advisories.empty());
    ASSERT_EQ(kinds(inspection.nodes[1]), std::vector<std::string>{"kernel-modalias-mismatch"});
    EXPECT_EQ(inspection.nodes[1].advisories[0].offset,
              inspection.nodes[1].decoded.units[0].directory);

    const std::string text = rombus::textReport(inspection, "", wide());
    EXPECT_THAT(text, HasSubstr("Node 0  fw1  (local: this machine's own controller)"));
    EXPECT_THAT(text, HasSubstr("SBP-2 (storage)  driver firewire_sbp2  ieee1394:"));
    EXPECT_THAT(text, HasSubstr("vendor-specific unit of Example Maker  in an instance directory: "
                                "no kernel unit device"));
    EXPECT_THAT(text, HasSubstr("(the kernel's too)"));
    EXPECT_THAT(text, HasSubstr("kernel: ieee1394:ven00A02D00"));
    const auto report = rombus::jsonReport(inspection);
    EXPECT_TRUE(report["nodes"][0]["local"].get<bool>());
    EXPECT_FALSE(report["nodes"][1]["local"].get<bool>());
    const auto& units = report["nodes"][0]["units"];
    EXPECT_EQ(units[0]["protocol"], "SBP-2 (storage)");
    EXPECT_EQ(units[0]["driver"], "firewire_sbp2");
    EXPECT_EQ(units[1]["protocol"], "vendor-specific unit of Example Maker");
    EXPECT_FALSE(units[1]["kernelUnit"].get<bool>());
    EXPECT_EQ(units[1]["driver"], nullptr);
    EXPECT_EQ(units[1]["kernelModalias"], nullptr);
    EXPECT_EQ(report["nodes"][1]["units"][0]["protocol"], "IIDC2 (digital camera)");
    EXPECT_EQ(report["nodes"][1]["units"][0]["kernelModalias"],
              "ieee1394:ven00A02D00mo00000000sp0000A02Dver00000110");
}

TEST_F(Naming, AFullPortListsInOneLinePerNodeAndATotal) {
    std::vector<lib1394::RomNode> nodes;
    for (uint64_t n = 0; n < 63; ++n)
        nodes.push_back(nodeOf(romOf(0xACDE480000000000ull + n, 0xACDE48, 0xACDE48, 1),
                               "fw" + std::to_string(n)));
    const std::string lines = rombus::listing(scan(nodes), "");
    std::istringstream in(lines);
    std::vector<std::string> all;
    for (std::string line; std::getline(in, line);)
        all.push_back(line);
    ASSERT_EQ(all.size(), 64u);
    EXPECT_EQ(all[0], "0:00  fw0  acde480000000000  \"Example Maker\" -  "
                      "[vendor-specific unit of Example Maker]  S100  ok");
    EXPECT_EQ(all[62].substr(0, 10), "0:62  fw62");
    EXPECT_EQ(all[63], "63 nodes on 1 port: 63 ok. By verdict: 63 clean.");
    EXPECT_EQ(rombus::listing(rombus::Inspection(), "No nodes."), "No nodes.\n");
}

} // namespace
