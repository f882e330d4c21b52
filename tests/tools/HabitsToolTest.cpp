// The built tool as users of lspci and lsusb reach for it: nodes chosen by -s and -d, ids by -n,
// the kind of trouble and the speed in --short, options a command does not read, *.rom files
// that hold text, and a machine without a FireWire stack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ToolInFolder.h"
#include "rombus_support/TestFolder.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

const std::string sample = ROMBUS_SOURCE_DIR "/examples/sysfs";

using rombus_test::Outcome;

class Habits : public rombus_test::ToolInFolder {
protected:
    // The --short lines of the sample bus, the line of totals left out.
    std::vector<std::string> shortLines(const std::string& options) const {
        const Outcome run = rombus("--short " + options + " scan --sysfs " + sample);
        std::vector<std::string> lines;
        std::istringstream text(run.out);
        for (std::string line; std::getline(text, line);)
            if (line.find(" on ") == std::string::npos || line.find("fw") != std::string::npos)
                lines.push_back(line);
        return lines;
    }
};

TEST_F(Habits, SlotsAndIdsChooseTheNodesAndKeepTheirPlaces) {
    // By place, as --short numbers them; by the kernel's name; by GUID; a part left out.
    const std::pair<std::string, std::vector<std::string>> choices[] = {
        {"-s 1:02", {"1:02  fw6  0030e00000000005"}},
        {"-s fw3", {"0:03  fw3  0030e00000000003"}},
        {"-s 0x0030e00000000004", {"1:01  fw5  0030e00000000004"}},
        {"-s 0030E00000000002", {"0:02  fw2  0030e00000000002"}},
        {"-s 1:", {"1:00  fw4", "1:01  fw5", "1:02  fw6", "1:03  fw7"}},
        {"-s :00", {"0:00  fw0", "1:00  fw4"}},
        {"-s 3", {"0:03  fw3", "1:03  fw7"}},
        // Texas Instruments' controllers; a model id of the root directory; vendor and model.
        {"-d 080028", {"0:00  fw0", "1:00  fw4"}},
        {"-d :935", {"0:03  fw3"}},
        {"-d 0030e0:000935 -s 0:", {"0:03  fw3"}},
    };
    for (const auto& [options, expected] : choices) {
        const std::vector<std::string> lines = shortLines(options);
        ASSERT_EQ(lines.size(), expected.size()) << options;
        for (size_t i = 0; i < lines.size(); ++i)
            EXPECT_EQ(lines[i].rfind(expected[i], 0), 0u) << options << ": " << lines[i];
    }
    // The text report shows the chosen node under its port, numbered as on the whole bus.
    const Outcome text = rombus("-s 1:02 scan --sysfs " + sample);
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, HasSubstr("Port 1"));
    EXPECT_THAT(text.out, HasSubstr("Node 2"));
    EXPECT_THAT(text.out, Not(HasSubstr("Port 0")));
    EXPECT_THAT(text.out, Not(HasSubstr("Node 1 ")));
    // JSON keeps the chosen node and its devices only; the exit status is the chosen nodes'.
    const Outcome clean = rombus("--format json -s fw1 scan --sysfs " + sample);
    EXPECT_EQ(clean.status, 0) << clean.err;
    const json report = json::parse(clean.out);
    ASSERT_EQ(report["nodes"].size(), 1u);
    EXPECT_EQ(report["nodes"][0]["locator"], "IEEE1394NODE:0:0030e00000000001h");
    for (const json& device : report["devices"]) {
        const std::string locator = device["locator"];
        EXPECT_TRUE(locator.find("IEEE1394NODE") == std::string::npos ||
                    locator.find("0030e00000000001") != std::string::npos)
            << locator;
    }
    // Nothing chosen: said, with the status of a bus without nodes.
    const Outcome none = rombus("-s fw99 scan --sysfs " + sample);
    EXPECT_EQ(none.status, 3);
    EXPECT_THAT(none.err, HasSubstr("no node matches -s fw99"));
    // Malformed choices are usage errors that name the option.
    for (const char* bad : {"-s 0:63", "-s x:1", "-s 12345678", "-d 1000000", "-d 0030e0:zz"}) {
        const Outcome run = rombus(std::string(bad) + " scan --sysfs " + sample);
        EXPECT_EQ(run.status, 2) << bad;
        EXPECT_THAT(run.err, HasSubstr(std::string("rombus: ") + bad)) << bad;
    }
}

TEST_F(Habits, ShortShowsIdsSpeedAndTheKindOfTrouble) {
    const std::vector<std::string> lines = shortLines("");
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_THAT(lines[0], HasSubstr("\"Texas Instruments\""));
    EXPECT_THAT(lines[0], HasSubstr("  S400  ok, local"));
    EXPECT_THAT(lines[2], HasSubstr("  problems (CRC only)"));
    EXPECT_THAT(lines[3], HasSubstr("  problems (entry rules)"));
    EXPECT_THAT(lines[6], HasSubstr("  problems (unreadable)"));
    // A node whose ROM could not be read has no speed to tell.
    EXPECT_THAT(lines[7], HasSubstr("  -  not accessible"));
    // -n: the ids instead of the names; -nn: both.
    const std::vector<std::string> numeric = shortLines("-n -s 0:03");
    ASSERT_EQ(numeric.size(), 1u);
    EXPECT_THAT(numeric[0], HasSubstr("0030e00000000003  -:000935  [no units]"));
    const std::vector<std::string> both = shortLines("-nn -s fw0");
    ASSERT_EQ(both.size(), 1u);
    EXPECT_THAT(both[0], HasSubstr("\"Rombus sample controller A\" [080028:"));
}

TEST_F(Habits, OptionsACommandDoesNotReadAreErrors) {
    const std::pair<const char*, const char*> misplaced[] = {
        {"--format json describe x.rom", "--format is not an option of describe"},
        {"--short repair x.rom -o y.rom", "--short is not an option of repair"},
        {"--strict repair x.rom -o y.rom", "--strict is not an option of repair"},
        {"-x build x.yaml -o y.rom", "--dump is not an option of build"},
        {"-s 0:01 registry import -o r.txt", "-s is not an option of registry"},
        {"--color always diff a.rom b.rom", "--color is not an option of diff"},
    };
    for (const auto& [arguments, message] : misplaced) {
        const Outcome run = rombus(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_THAT(run.err, HasSubstr(std::string("rombus: ") + message)) << arguments;
        EXPECT_FALSE(fs::exists(folder_.path() / "y.rom")) << arguments;
    }
    // The parser's own errors carry the tool's name too.
    const Outcome unknown = rombus("scan --no-such-option");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.err.rfind("rombus: ", 0), 0u) << unknown.err;
}

TEST_F(Habits, ARomFileHoldsBinaryOnly) {
    const std::string rom("\x04\x04\x8f\x2a"
                          "1394"
                          "\xe0\x64\x80\x02\x00\x30\xe0\x00\x00\x00\x00\x01\x00\x00\x00\x00",
                          24);
    std::ofstream(folder_.path() / "good.rom", std::ios::binary) << rom;
    // Hex text or little-endian quadlets are refused for a *.rom name, and nothing is written.
    for (const char* form : {"hex", "le"}) {
        const Outcome run =
            rombus(std::string("repair good.rom -o copy.rom --output-form ") + form);
        EXPECT_EQ(run.status, 2) << form;
        EXPECT_THAT(run.err, HasSubstr("copy.rom: a *.rom file holds raw binary")) << form;
        EXPECT_FALSE(fs::exists(folder_.path() / "copy.rom")) << form;
    }
    EXPECT_EQ(rombus("repair good.rom -o copy.hex --output-form hex").status, 0);
    // build writes to standard output without -o, as describe does.
    ASSERT_EQ(rombus("describe good.rom").status, 0);
    std::ofstream(folder_.path() / "good.yaml") << rombus("describe good.rom").out;
    const Outcome built = rombus("build good.yaml");
    EXPECT_EQ(built.status, 0) << built.err;
    ASSERT_EQ(rombus("build good.yaml -o built.rom").status, 0);
    EXPECT_EQ(built.out, read("built.rom"));
    EXPECT_EQ(built.out.size(), 24u);
    // Hex text under a *.rom name is named as text, with the way to read it.
    fs::copy_file(folder_.path() / "copy.hex", folder_.path() / "text.rom");
    const Outcome text = rombus("check text.rom");
    EXPECT_EQ(text.status, 2);
    EXPECT_THAT(text.err, HasSubstr("text.rom: holds text, not the raw binary"));
    EXPECT_THAT(text.err, HasSubstr("--form hex"));
    const Outcome asText = rombus("--format json check --form hex text.rom");
    EXPECT_NE(asText.status, 2) << asText.err;
    EXPECT_EQ(json::parse(asText.out)["nodes"][0]["guid"], "0030e00000000001");
}

TEST_F(Habits, NoFireWireStackIsSaidAlikeBySysfsAndLiveScans) {
    fs::create_directories(folder_.path() / "sys");
    fs::create_directories(folder_.path() / "dev");
    const Outcome sysfs = rombus("scan --sysfs sys");
    const Outcome live = rombus("scan --live --dev dev");
    EXPECT_EQ(sysfs.status, 3);
    EXPECT_EQ(live.status, 3);
    for (const Outcome& run : {sysfs, live})
        EXPECT_THAT(run.out, HasSubstr("The kernel's FireWire stack (the firewire-ohci and "
                                       "firewire-core modules) is not loaded"));
    EXPECT_THAT(sysfs.out, HasSubstr("there is no bus/firewire"));
    EXPECT_THAT(live.out, HasSubstr("no fw* device file"));
}

} // namespace
