// The tool's exit status and JSON "ok" count faults; records a named standard permits count only
// with --strict, and every view names the class of each record.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ReportSchema.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <set>

namespace {

using nlohmann::json;
using rombus_test::flat;
using rombus_test::hexLines;
using rombus_test::Outcome;
using rombus_test::RomLayout;
using testing::HasSubstr;

class VerdictClassTool : public ::testing::Test {
protected:
    Outcome rombus(const std::string& arguments) {
        return rombus_test::runCommand(folder_, std::string("'") + ROMBUS_BINARY +
                                                    "' --registry '" + ROMBUS_SOURCE_DIR +
                                                    "/tests/roms/registry.txt' " + arguments);
    }

    json report(const std::string& arguments, int expectedStatus) {
        const Outcome run = rombus("--format json " + arguments);
        EXPECT_EQ(run.status, expectedStatus);
        rombus_test::expectValidReport(folder_.write("report.json", run.out));
        return json::parse(run.out);
    }

    rombus_test::TestFolder folder_;
};

TEST_F(VerdictClassTool, EachPermittedKindExits0AndFailsOnlyWhenStrict) {
    // Node_Vendor_Id (key 08h) in the root directory, as IEEE 1212-1994 put it.
    RomLayout former;
    former.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x08, 0xACDE48),
                      RomLayout::immediate(0x0C, 0x0083C0)});
    const struct {
        std::string file, standard;
    } kinds[] = {
        {ROMBUS_SOURCE_DIR "/tests/roms/iidc-camera.hex", "IIDC 1.30 (digital camera)"},
        {folder_.write("node-vendor-id.hex", hexLines(former.quadlets())), "IEEE 1212-1994"},
        {ROMBUS_SOURCE_DIR "/tests/roms/minimal-rom.hex", "IEEE 1212 (minimal ROM)"},
    };
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.standard);
        const Outcome text = rombus("check " + kind.file);
        EXPECT_EQ(text.status, 0);
        EXPECT_THAT(flat(text.out),
                    HasSubstr("class: permitted: " + kind.standard + " defines it"));
        EXPECT_THAT(flat(text.out), HasSubstr("By verdict: 1 permitted only."));
        EXPECT_EQ(rombus("--strict check " + kind.file).status, 1);
        EXPECT_THAT(rombus("--short check " + kind.file).out, HasSubstr("), 1 permitted\n"));

        const json lenient = report("check " + kind.file, 0);
        EXPECT_TRUE(lenient["ok"].get<bool>());
        const json& node = lenient["nodes"][0];
        EXPECT_EQ(node["verdict"], "permitted only");
        ASSERT_EQ(node["messages"].size(), 1u);
        EXPECT_EQ(node["messages"][0]["class"], "permitted");
        EXPECT_EQ(node["messages"][0]["standard"], kind.standard);
        EXPECT_FALSE(report("--strict check " + kind.file, 1)["ok"].get<bool>());
    }
}

TEST_F(VerdictClassTool, AFaultBesideAPermittedRecordStillExits1) {
    // Key 08h in the root beside a root without its Vendor entry (03h), which no standard lifts;
    // and key 08h in a unit directory, where no standard put it.
    RomLayout missingVendor;
    missingVendor.directory(
        {RomLayout::immediate(0x08, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0)});
    RomLayout inUnit;
    inUnit.directory({RomLayout::immediate(0x03, 0xACDE48), RomLayout::immediate(0x0C, 0x0083C0),
                      RomLayout::ref(0xD1, 1)});
    inUnit.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::immediate(0x08, 0xACDE48)});
    const std::string both = folder_.write("both.hex", hexLines(missingVendor.quadlets()));
    const std::string unit = folder_.write("unit.hex", hexLines(inUnit.quadlets()));

    const Outcome text = rombus("check " + both);
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, HasSubstr("class: fault\n"));
    EXPECT_THAT(flat(text.out), HasSubstr("By verdict: 1 with faults."));
    EXPECT_THAT(rombus("--short check " + both).out,
                HasSubstr("problems (entry rules), 1 fault, 1 permitted"));
    const json mixed = report("check " + both, 1);
    EXPECT_EQ(mixed["nodes"][0]["verdict"], "fault");
    std::multiset<std::string> classes;
    for (const json& message : mixed["nodes"][0]["messages"])
        classes.insert(message["class"].get<std::string>());
    EXPECT_EQ(classes, (std::multiset<std::string>{"fault", "permitted"}));

    const json misplaced = report("check " + unit, 1);
    ASSERT_EQ(misplaced["nodes"][0]["messages"].size(), 1u);
    EXPECT_EQ(misplaced["nodes"][0]["messages"][0]["class"], "fault");
    EXPECT_EQ(misplaced["nodes"][0]["messages"][0]["standard"], nullptr);

    // Both files together: the summary counts each node once by its worst.
    EXPECT_THAT(
        flat(rombus("check " + both + " " + unit + " " + ROMBUS_SOURCE_DIR +
                    "/tests/roms/avc-unit.hex " + ROMBUS_SOURCE_DIR + "/tests/roms/iidc-camera.hex")
                 .out),
        HasSubstr("By verdict: 2 with faults, 1 permitted only, 1 clean."));
}

} // namespace
