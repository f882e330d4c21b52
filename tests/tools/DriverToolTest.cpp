// The built tool's view of Linux drivers: the drivers of each unit in every report, -k, the
// modules.alias it reads, the shipped table's rebuild and the hwdb entries read back by
// systemd's rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ReportSchema.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using rombus_test::RomLayout;
using testing::HasSubstr;

using rombus_test::Outcome;
using rombus_test::readAll;

uint64_t diceGuid(uint32_t company, uint32_t category, uint32_t product, uint32_t serial) {
    return uint64_t{company} << 40 | uint64_t{category} << 32 | uint64_t{product} << 22 | serial;
}

// An AV/C or DICE device with its names in the root and one unit.
std::string romOf(uint64_t guid, uint32_t vendor, uint32_t model, uint32_t specifier,
                  uint32_t version, const std::string& vendorName, const std::string& modelName) {
    rombus_test::BusInfo info;
    info.guid = guid;
    RomLayout layout(info);
    layout.directory({RomLayout::immediate(0x03, vendor), RomLayout::ref(0x81, 2),
                      RomLayout::immediate(0x17, model), RomLayout::ref(0x81, 3),
                      RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, specifier), RomLayout::immediate(0x13, version),
                      RomLayout::immediate(0x17, model)});
    layout.textLeaf(vendorName);
    layout.textLeaf(modelName);
    const auto bytes = layout.image();
    return std::string(bytes.begin(), bytes.end());
}

class DriverTool : public ::testing::Test {
protected:
    void SetUp() override {
        registry_ = folder_.write("registry.txt", "00130E Focusrite Audio Engineering Ltd.\n"
                                                  "0050C2 IEEE Registration Authority\n");
        alias_ = folder_.write("6.99.1/modules.alias",
                               "alias ieee1394:ven*mo*sp*ver00000001* snd_dice\n"
                               "alias ieee1394:ven00000D6Cmo00010070sp0000A02Dver* snd_bebob\n");
        bebob_ = folder_.write("bebob.rom", romOf(0x000D6C0000000001ull, 0x000D6C, 0x010071,
                                                  0x00A02D, 0x010001, "M-Audio", "FW 1814"));
        dice_ =
            folder_.write("dice.rom", romOf(diceGuid(0x00130E, 0x05, 0x005, 7), 0x00130E, 0x000005,
                                            0x00130E, 0x000001, "Focusrite", "Saffire PRO 40"));
    }

    // The tool run with the test's registry, for the commands that name vendors.
    Outcome rombus(const std::string& arguments) {
        return rombusPlain("--registry '" + registry_ + "' " + arguments);
    }

    Outcome rombusPlain(const std::string& arguments) {
        return rombus_test::runCommand(folder_,
                                       std::string("'") + ROMBUS_BINARY + "' " + arguments);
    }

    rombus_test::TestFolder folder_;
    std::string registry_, alias_, bebob_, dice_;
};

TEST_F(DriverTool, TheTextReportSaysWhatTakesEachUnitAndWhy) {
    const Outcome run = rombus("--modules-alias " + alias_ + " check " + bebob_ + " " + dice_);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("No driver's entry takes it; nearest: snd_bebob: model 010071h "
                                   "here, the table has 010070h"));
    EXPECT_THAT(run.out, HasSubstr("Drivers that take it: snd_dice "
                                   "(ieee1394:ven*mo*sp*ver00000001*, 6.99.1)"));
    EXPECT_THAT(run.out, HasSubstr("snd_dice refuses it: the GUID's category byte is 05h, the "
                                   "driver wants 04h"));
    EXPECT_THAT(run.out, HasSubstr("DICE GUID: company 00130Eh, category 05h, product 005h, "
                                   "serial 7"));
    // A DICE GUID of the unit's company with a wrong category is a likely bug: an advisory,
    // which --strict counts. A GUID of another company is a unit of another kind: a note.
    const Outcome strict = rombus("--strict --modules-alias " + alias_ + " check " + dice_);
    EXPECT_EQ(strict.status, 1);
    EXPECT_THAT(strict.out, HasSubstr("advisory 2Ch: snd_dice refuses it: the GUID's category"));
    const std::string other =
        folder_.write("other.rom", romOf(diceGuid(0x0030E0, 0x04, 0x005, 7), 0x00130E, 0x000005,
                                         0x00130E, 0x000001, "Focusrite", "Saffire PRO 40"));
    const Outcome note = rombus("--strict --modules-alias " + alias_ + " check " + other);
    EXPECT_EQ(note.status, 0);
    EXPECT_THAT(note.out,
                HasSubstr("note 2Ch: snd_dice refuses it: the GUID's company id 0030E0h"));
    EXPECT_THAT(note.out, testing::Not(HasSubstr("DICE GUID")));
}

TEST_F(DriverTool, ShortWithKListsTheModulesOfEachUnit) {
    const Outcome run =
        rombus("--short -k --modules-alias " + alias_ + " check " + dice_ + " " + bebob_);
    EXPECT_EQ(run.status, 0) << run.err;
    std::istringstream lines(run.out);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);)
        all.push_back(line);
    ASSERT_EQ(all.size(), 4u) << run.out;
    EXPECT_THAT(all[0], HasSubstr("\"Focusrite\" \"Saffire PRO 40\""));
    EXPECT_EQ(all[1], "\tUnit 0: Kernel modules: snd_dice");
    // The bebob unit no entry takes: no line under it.
    EXPECT_THAT(all[2], HasSubstr("\"M-Audio\" \"FW 1814\""));
    EXPECT_THAT(all[3], HasSubstr("2 nodes on 1 port"));
    // Without -k, the listing is as before.
    EXPECT_EQ(rombus("--short --modules-alias " + alias_ + " check " + dice_).out.find('\t'),
              std::string::npos);
}

TEST_F(DriverTool, JsonCarriesMatchesProbesAndTheTable) {
    const Outcome run =
        rombus("--format json --modules-alias shipped check " + dice_ + " " + bebob_);
    EXPECT_EQ(run.status, 0) << run.err;
    rombus_test::expectValidReport(folder_.write("report.json", run.out));
    const auto report = nlohmann::json::parse(run.out);
    const auto& dice = report["nodes"][0];
    EXPECT_EQ(dice["linux"]["table"], "the table shipped with the tool");
    EXPECT_EQ(dice["linux"]["diceGuid"]["category"], 5);
    const auto& drivers = dice["units"][0]["drivers"];
    ASSERT_EQ(drivers["matches"].size(), 1u);
    EXPECT_EQ(drivers["matches"][0]["driver"], "snd_dice");
    EXPECT_EQ(drivers["probes"][0]["verdict"], "refuses");
    // The shipped table has the FireWire 1814's running model: snd_bebob takes it.
    const auto& bebob = report["nodes"][1]["units"][0]["drivers"];
    EXPECT_EQ(bebob["matches"][0]["alias"], "ieee1394:ven00000D6Cmo00010071sp0000A02Dver*");
    EXPECT_TRUE(report["nodes"][1]["linux"]["diceGuid"].is_null());
}

TEST_F(DriverTool, AModulesAliasThatCannotBeReadIsAUsageError) {
    const std::string missing = (folder_.path() / "none" / "modules.alias").string();
    const Outcome run = rombus("--modules-alias " + missing + " check " + dice_);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr(missing));
    const std::string bad = folder_.write("bad.alias", "alias ieee1394:ven*mo* snd_dice\n");
    const Outcome malformed = rombus("--modules-alias " + bad + " check " + dice_);
    EXPECT_EQ(malformed.status, 2);
    EXPECT_THAT(malformed.err, HasSubstr(bad + ": line 1: "));
    EXPECT_TRUE(malformed.out.empty());
}

TEST_F(DriverTool, DriversTableWritesTheShippedTableSource) {
    const Outcome run = rombusPlain("drivers table --kernel 6.99.1 " + alias_);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("from modules.alias of 6.99.1."));
    EXPECT_THAT(run.out,
                HasSubstr("    {\"snd_dice\", 0x8, 0x000000, 0x000000, 0x000000, 0x000001, "
                          "\"6.99.1\"},\n    {\"snd_bebob\", 0x7, 0x000D6C, 0x010070, 0x00A02D, "
                          "0x000000, \"6.99.1\"},\n};"));
    const std::string empty = folder_.write("empty.alias", "alias pci:v*d* x\n");
    EXPECT_EQ(rombus("drivers table " + empty).status, 2);
}

TEST_F(DriverTool, AGuidInAnIeeeBlockIsNamedByItsHoldersAssignment) {
    folder_.write("ieee-assignments.csv", "Registry,Assignment,Organization Name\n"
                                          "MA-S,0050C27D5,\"DEUTA-WERKE GmbH\"\n");
    rombus_test::BusInfo info;
    info.guid = 0x0050C27D5000002Aull;
    RomLayout layout(info);
    layout.directory({RomLayout::immediate(0x03, 0x0050C2), RomLayout::immediate(0x17, 0x000001)});
    const auto bytes = layout.image();
    const std::string rom = folder_.write("block.rom", std::string(bytes.begin(), bytes.end()));
    const Outcome brief = rombus("--short check " + rom);
    EXPECT_EQ(brief.status, 0) << brief.err;
    EXPECT_THAT(brief.out, HasSubstr("\"DEUTA-WERKE GmbH\" model 000001h"));
    const Outcome full = rombus("check " + rom);
    EXPECT_THAT(full.out, HasSubstr("GUID assigned to \"DEUTA-WERKE GmbH\" (MA-S 0050C27D5)"));
    // Outside the block's assignment, the company id's holder.
    info.guid = 0x0050C27D6000002Aull;
    RomLayout other(info);
    other.directory({RomLayout::immediate(0x03, 0x0050C2), RomLayout::immediate(0x17, 0x000001)});
    const auto otherBytes = other.image();
    const std::string outside =
        folder_.write("outside.rom", std::string(otherBytes.begin(), otherBytes.end()));
    EXPECT_THAT(rombus("--short check " + outside).out,
                HasSubstr("\"IEEE Registration Authority\" model 000001h"));
}

TEST_F(DriverTool, RegistryImportWritesTheLongerAssignmentsBesideTheRegistry) {
    const std::string oui = folder_.write("oui.csv", "Registry,Assignment,Organization Name\n"
                                                     "MA-L,0050C2,IEEE Registration Authority\n");
    const std::string out = (folder_.path() / "share" / "oui-registry.txt").string();
    const Outcome run = rombusPlain("registry import --from " + oui + " -o " + out);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readAll(out), "0050C2 IEEE Registration Authority\n");
    const std::string longer = readAll(folder_.path() / "share" / "ieee-assignments.csv");
    EXPECT_EQ(longer.rfind("Registry,Assignment,Organization Name\n", 0), 0u) << longer;
}

// systemd's hwdb file rules: key lines at the line's start, properties after them indented by
// one space as NAME=value, entries apart by one blank line, nothing after the last.
void expectHwdbSyntax(const std::string& text, size_t& entries) {
    const std::regex nodeKey(
        "ieee1394:node:ven0x[0-9a-f]{6}(mo0x[0-9a-f]{6})?units(0x[0-9a-f]{6}:0x[0-9a-f]{6}|"
        "\\*0x[0-9a-f]{6}:0x[0-9a-f]{6}\\*)");
    const std::regex unitKey("ieee1394:ven[0-9A-F]{8}mo[0-9A-F]{8}sp[0-9A-F]{8}ver[0-9A-F]{8}");
    const std::regex property(" (ID_VENDOR_FROM_DATABASE|ID_MODEL_FROM_DATABASE|"
                              "IEEE1394_UNIT_FUNCTION_(MIDI|AUDIO|VIDEO))=[^\\n]+");
    ASSERT_FALSE(text.empty());
    ASSERT_EQ(text.back(), '\n');
    std::istringstream lines(text);
    enum { Between, Keys, Properties } state = Between;
    size_t keys = 0;
    for (std::string line; std::getline(lines, line);) {
        SCOPED_TRACE(line);
        if (line.empty()) {
            EXPECT_EQ(state, Properties) << "a blank line ends an entry that has properties";
            state = Between;
        } else if (line[0] != ' ') {
            EXPECT_NE(state, Properties) << "a key after properties without a blank line";
            EXPECT_TRUE(std::regex_match(line, keys % 2 ? unitKey : nodeKey));
            ++keys;
            state = Keys;
        } else {
            EXPECT_NE(state, Between) << "a property with no key";
            EXPECT_TRUE(std::regex_match(line, property));
            entries += state == Keys ? 1 : 0;
            state = Properties;
        }
    }
    EXPECT_EQ(state, Properties);
}

TEST_F(DriverTool, HwdbEntriesOfTheTestRomsReadBackBySystemdsRules) {
    std::string files;
    for (const auto& entry : fs::directory_iterator(ROMBUS_SOURCE_DIR "/tests/roms"))
        if (entry.path().extension() == ".hex")
            files += " '" + entry.path().string() + "'";
    const std::string dice =
        folder_.write("good-dice.rom", romOf(diceGuid(0x00130E, 0x04, 0x005, 9), 0x00130E, 0x000005,
                                             0x00130E, 0x000001, "Focusrite", "Saffire PRO 40"));
    const Outcome run =
        rombus("--modules-alias shipped hwdb" + files + " " + dice + " " + bebob_ + " " + bebob_);
    EXPECT_EQ(run.status, 0) << run.err;
    size_t entries = 0;
    expectHwdbSyntax(run.out, entries);
    // The same ROM twice gives one entry; ROMs of the same names share one.
    EXPECT_EQ(run.out.find("ieee1394:ven00000D6Cmo00010071"),
              run.out.rfind("ieee1394:ven00000D6Cmo00010071"));
    EXPECT_THAT(run.out, HasSubstr("ieee1394:node:ven0x000d6cmo0x010071units0x00a02d:0x010001\n"
                                   "ieee1394:ven00000D6Cmo00010071sp0000A02Dver00010001\n"
                                   " ID_VENDOR_FROM_DATABASE=M-Audio\n"
                                   " ID_MODEL_FROM_DATABASE=FW 1814\n"
                                   " IEEE1394_UNIT_FUNCTION_AUDIO=1\n"));
    EXPECT_THAT(run.out, HasSubstr("ieee1394:node:ven0x00130emo0x000005units0x00130e:0x000001\n"));
    // The IIDC camera of the test ROMs is a video unit.
    EXPECT_THAT(run.out, HasSubstr(" IEEE1394_UNIT_FUNCTION_VIDEO=1\n"));
    EXPECT_GE(entries, 3u);
    // A unit whose only driver refuses it has no function, and so no entry; nor has a disk.
    const Outcome refused = rombus("--modules-alias shipped hwdb " + dice_);
    EXPECT_EQ(refused.status, 0) << refused.err;
    EXPECT_EQ(refused.out, "");
    EXPECT_THAT(run.out, testing::Not(HasSubstr("sp0000609Ever00010483")));
}

} // namespace
