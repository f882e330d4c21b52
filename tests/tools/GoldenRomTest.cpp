// Every ROM of tests/roms, typed from a layout published in a standard, read by the built tool:
// its JSON report must be the one reviewed and kept beside it. Adding a ROM is adding NAME.hex
// (hex text that says where its layout comes from) and NAME.json (its reviewed report: made with
// `rombus --format json --modules-alias shipped check NAME.hex --registry registry.txt` in the
// folder, then read against the layout, entry by entry; the drivers of its units against the
// drivers' tables).
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ReportSchema.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

const fs::path roms = ROMBUS_SOURCE_DIR "/tests/roms";
using rombus_test::readAll;

TEST(GoldenRoms, EveryRomGivesItsReviewedReport) {
    const rombus_test::TestFolder folder;
    size_t checked = 0;
    for (const auto& entry : fs::directory_iterator(roms)) {
        const fs::path rom = entry.path();
        if (rom.extension() != ".hex")
            continue;
        SCOPED_TRACE(rom.filename().string());
        const std::string text = readAll(rom);
        EXPECT_EQ(text.rfind("# ", 0), 0u) << "the ROM does not begin by saying where it is from";
        fs::path expected = rom;
        expected.replace_extension(".json");
        ASSERT_TRUE(fs::exists(expected));

        const rombus_test::Outcome run = rombus_test::runCommand(
            folder, std::string("'") + ROMBUS_BINARY +
                        "' --format json --modules-alias shipped check '" + rom.string() +
                        "' --registry '" + (roms / "registry.txt").string() + "'");
        ASSERT_GE(run.status, 0);
        rombus_test::expectValidReport(folder.path() / "stdout");
        rombus_test::expectValidReport(expected);
        nlohmann::json report = nlohmann::json::parse(run.out);
        nlohmann::json kept = nlohmann::json::parse(readAll(expected));
        // A valid ROM of a standard exits 0 unless a record of it is a fault.
        bool fault = false;
        for (const auto& message : kept["nodes"][0]["messages"])
            fault = fault || message["class"] == "fault";
        EXPECT_EQ(run.status, fault ? 1 : 0);
        // The source is the ROM's path, which depends on where the tree lies.
        report["nodes"][0].erase("source");
        kept["nodes"][0].erase("source");
        EXPECT_EQ(report, kept);
        ++checked;
    }
    EXPECT_GE(checked, 5u);
}

TEST(GoldenRoms, EveryReportHasItsRom) {
    for (const auto& entry : fs::directory_iterator(roms)) {
        fs::path rom = entry.path();
        if (rom.extension() == ".json")
            EXPECT_TRUE(fs::exists(rom.replace_extension(".hex"))) << rom;
    }
}

} // namespace
