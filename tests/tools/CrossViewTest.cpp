// Every view of a node reads one model: the tree, the Unit lines, the decoder's own reading, the
// dump, the listing and JSON must name each unit alike and place each entry at the same offsets,
// over every golden ROM and the ROMs built here for what the golden ones lack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Dump.h"
#include "JsonReport.h"
#include "Listing.h"
#include "TextReport.h"
#include "inspect/Rombus.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/TypicalRom.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using rombus_test::RomLayout;
using testing::HasSubstr;
using testing::Not;

const fs::path roms = ROMBUS_SOURCE_DIR "/tests/roms";
const std::string registry = (roms / "registry.txt").string();
// Wide enough that no line of these reports is broken.
constexpr size_t Wide = 400;
// What tests/roms/registry.txt names ACDE48h.
const std::string ExampleUnit = "vendor-specific unit of IEEE example company id";

std::string hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "%llX", static_cast<unsigned long long>(value));
    return text;
}

std::string dumpLineAt(const std::string& dump, uint32_t offset) {
    char head[8];
    std::snprintf(head, sizeof head, "%03X  ", offset);
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind(head, 0) == 0)
            return line;
    return std::string();
}

// Offset and target of every entry JSON gives, each block once.
void collectEntries(const ordered_json& entries, std::map<uint32_t, std::optional<uint32_t>>& out) {
    for (const auto& entry : entries) {
        out[entry["offset"].get<uint32_t>()] =
            entry["target"].is_null() ? std::nullopt
                                      : std::optional<uint32_t>(entry["target"].get<uint32_t>());
        collectEntries(entry["children"], out);
    }
}

// The views of an inspection, each made once.
struct Views {
    rombus::Inspection inspection;
    std::string text, brief;
    ordered_json json;

    explicit Views(const std::vector<std::string>& paths) {
        rombus::Settings settings = rombus::toolSettings();
        settings.registry = registry;
        std::vector<std::string> errors;
        inspection = rombus::inspectFiles(paths, settings, errors);
        EXPECT_TRUE(errors.empty());
        rombus::Layout layout;
        layout.width = Wide;
        text = rombus::textReport(inspection, "none", layout);
        brief = rombus::listing(inspection, "none");
        json = rombus::jsonReport(inspection);
    }
};

// Checks that every view of a one-node inspection says the same of its units and entries.
void expectViewsAgree(const Views& views) {
    ASSERT_EQ(views.json["nodes"].size(), 1u);
    // A tree line of an entry device: its name, two blanks, "at" and its place.
    const std::regex treePlace("(Immediate|Leaf|Directory|CSR Offset) - [^\n]*?  at ([0-9A-F]+)h"
                               "( -> ([0-9A-F]+)h)?");
    for (size_t n = 0; n < views.inspection.nodes.size(); ++n) {
        const rombus::NodeView& node = views.inspection.nodes[n];
        const ordered_json& json = views.json["nodes"][n];
        SCOPED_TRACE(json["source"].get<std::string>());
        const std::string dump = rombus::dumpNode(node, Wide);
        std::map<uint32_t, std::optional<uint32_t>> entries;
        collectEntries(json["entries"], entries);

        std::string names;
        for (size_t i = 0; i < json["units"].size(); ++i) {
            const ordered_json& unit = json["units"][i];
            const std::string name = unit["name"];
            const uint32_t entry = unit["entry"], directory = unit["directory"];
            SCOPED_TRACE(name);
            EXPECT_FALSE(name.empty());
            EXPECT_EQ(unit["protocol"], name);
            EXPECT_EQ(entries.at(entry), directory);
            const std::string place = "at " + hex(entry) + "h -> " + hex(directory) + "h";
            EXPECT_THAT(views.text,
                        HasSubstr("Unit " + std::to_string(i) + " " + place + "  " + name));
            if (!json["beyondVerdict"] &&
                views.text.find("Directory - Unit  " + place) != std::string::npos)
                EXPECT_THAT(views.text,
                            HasSubstr("Directory - Unit  " + place + "  (" + name + ")"));
            EXPECT_THAT(dumpLineAt(dump, directory), HasSubstr("(" + name + ")"));
            EXPECT_THAT(dumpLineAt(dump, entry), HasSubstr("-> " + hex(directory) + "h"));
            names += (names.empty() ? "" : ", ") + name;
        }
        EXPECT_THAT(views.brief, HasSubstr("[" + (names.empty() ? "no units" : names) + "]"));

        for (const auto& [offset, target] : entries) {
            const std::string line = dumpLineAt(dump, offset);
            EXPECT_THAT(line, HasSubstr("key ")) << hex(offset);
            if (target)
                EXPECT_THAT(line, HasSubstr("-> " + hex(*target) + "h")) << hex(offset);
        }
        // Every place the tree or the decoder's reading gives is an entry's own offset with its
        // own target; only the root directory, which no entry names, stands at its block.
        for (std::sregex_iterator it(views.text.begin(), views.text.end(), treePlace), end;
             it != end; ++it) {
            const uint32_t offset = std::stoul((*it)[2].str(), nullptr, 16);
            if ((*it)[0].str().rfind("Directory - Root", 0) == 0)
                continue;
            ASSERT_TRUE(entries.count(offset)) << (*it)[0].str();
            const auto& target = entries.at(offset);
            EXPECT_EQ((*it)[3].matched, target.has_value()) << (*it)[0].str();
            if (target && (*it)[3].matched)
                EXPECT_EQ(std::stoul((*it)[4].str(), nullptr, 16), *target) << (*it)[0].str();
        }
    }
}

TEST(CrossView, EveryGoldenRomIsTheSameInEveryView) {
    size_t checked = 0;
    for (const auto& file : fs::directory_iterator(roms)) {
        if (file.path().extension() != ".hex")
            continue;
        SCOPED_TRACE(file.path().filename().string());
        expectViewsAgree(Views({file.path().string()}));
        ++checked;
    }
    EXPECT_GE(checked, 10u);
}

class BuiltRoms : public ::testing::Test {
protected:
    rombus_test::TestFolder folder_;
};

// Three units of one company: two in the root directory, one in an instance directory whose
// specifier id entry the module may never publish. Each has the registry's name for the id.
RomLayout threeUnitsOfOneCompany() {
    RomLayout layout(0xACDE480000000010ull);
    layout.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0),
                      RomLayout::ref(0xD1, 1), RomLayout::ref(0xD1, 2), RomLayout::ref(0xD8, 3)});
    layout.directory({RomLayout::immediate(0x12, 0xACDE48), RomLayout::immediate(0x13, 0x000001)});
    layout.directory({RomLayout::immediate(0x12, 0xACDE48), RomLayout::immediate(0x13, 0x000002)});
    layout.directory({RomLayout::ref(0xD1, 4)});
    layout.directory({RomLayout::immediate(0x12, 0xACDE48), RomLayout::immediate(0x13, 0x000003)});
    return layout;
}

TEST_F(BuiltRoms, EveryUnitOfOneCompanyHasItsNameHoweverFarTheModuleRead) {
    std::vector<uint8_t> whole = threeUnitsOfOneCompany().image();
    // The same ROM with its bus information block's CRC wrong: the module stops there.
    std::vector<uint8_t> stopped = whole;
    stopped[3] ^= 0x01;
    expectViewsAgree(Views({folder_.write("typical.rom", rombus_bench::typicalRom())}));
    for (const bool stops : {false, true}) {
        const Views views({folder_.write("units.rom", stops ? stopped : whole)});
        expectViewsAgree(views);
        const rombus::NodeView& node = views.inspection.nodes.at(0);
        EXPECT_EQ(node.beyondVerdict, stops);
        ASSERT_EQ(node.units.size(), 3u);
        for (const rombus::UnitView& unit : node.units) {
            EXPECT_EQ(unit.name, ExampleUnit);
            EXPECT_EQ(unit.architecture, "");
        }
        EXPECT_EQ(node.units[1].path, "root/unit[1]");
        EXPECT_FALSE(node.units[2].kernelIndex);
        EXPECT_EQ(node.units[1].kernelIndex, 1u);
        EXPECT_THAT(views.brief,
                    HasSubstr("[" + ExampleUnit + ", " + ExampleUnit + ", " + ExampleUnit + "]"));
        EXPECT_THAT(views.text, Not(HasSubstr("unknown unit type")));
    }
}

TEST_F(BuiltRoms, TextsAreShownAsTheKernelShowsThemAndKeptWholeInJson) {
    RomLayout layout(0xACDE480000000011ull);
    const int vendorText = 2, unitText = 3;
    layout.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::ref(0x81, vendorText),
                      RomLayout::immediate(0x0C, 0x0083C0), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::ref(0x81, unitText)});
    layout.textLeaf("Maker \t ");
    layout.textLeaf("Disk   ");
    const Views views({folder_.write("texts.rom", layout.image())});
    expectViewsAgree(views);
    EXPECT_THAT(views.text, HasSubstr("ROM names: vendor \"Maker\"\n"));
    EXPECT_THAT(views.text, HasSubstr("SBP-2 (storage)  \"Disk\"  ieee1394:"));
    EXPECT_THAT(views.text, HasSubstr("\"Disk\"\n"));
    EXPECT_THAT(views.text, Not(HasSubstr("Disk ")));
    EXPECT_THAT(views.brief, HasSubstr("  \"Maker\" "));
    const ordered_json& node = views.json["nodes"][0];
    EXPECT_EQ(node["romNames"]["vendorName"], "Maker \t ");
    EXPECT_EQ(node["units"][0]["texts"], ordered_json::array({"Disk   "}));
}

TEST_F(BuiltRoms, TheEntryARecordNamesIsMarkedInTheTree) {
    // Node capabilities belong in the root directory only: the module refuses the second, in
    // the unit directory, and its record is the only one.
    RomLayout layout(0xACDE480000000012ull);
    layout.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0),
                      RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::immediate(0x0C, 0x0083C0)});
    const uint32_t unit = layout.offsetOf(1);
    const Views views({folder_.write("refused.rom", layout.image())});
    expectViewsAgree(views);
    ASSERT_EQ(views.inspection.nodes[0].records.size(), 1u);
    EXPECT_THAT(views.text, HasSubstr("Immediate - Node Capabilities  at " + hex(unit + 12) +
                                      "h  0x0083C0  (not published)  <- problem 1\n"));
    // The root's own capabilities entry is not the one the record names.
    EXPECT_THAT(views.text, HasSubstr("Immediate - Node Capabilities  at 1Ch  0x0083C0\n"));

    // A root directory without a vendor id: the record names the root, which no entry names.
    RomLayout vendorless(0xACDE480000000013ull);
    vendorless.directory({RomLayout::immediate(0x0C, 0x0083C0)});
    const Views rootViews({folder_.write("vendorless.rom", vendorless.image())});
    expectViewsAgree(rootViews);
    ASSERT_EQ(rootViews.inspection.nodes[0].records.size(), 1u);
    EXPECT_THAT(rootViews.text, HasSubstr("    Directory - Root  at 14h  <- problem 1\n"));
    EXPECT_THAT(rootViews.text, HasSubstr("Immediate - Node Capabilities  at 18h  0x0083C0\n"));
}

} // namespace
