#include "inspect/Rombus.h"

#include "rombus_support/TestFolder.h"
#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using rombus::NodeStatus;

std::string bytesOf(const std::vector<uint8_t>& rom) {
    return std::string(rom.begin(), rom.end());
}

TEST(Rombus, ToolSettingsRecordCrcMismatchesAndAFileThatCannotBeReadLeavesTheOthers) {
    const rombus_test::TestFolder folder;
    std::vector<uint8_t> rom = rombus_bench::typicalRom();
    const std::string good = folder.write("good.bin", bytesOf(rom));
    // The root directory's stored CRC (the low half of its header at offset 20) made wrong.
    rom[23] ^= 0x01;
    const std::string bad = folder.write("bad-crc.bin", bytesOf(rom));
    const std::string missing = (folder.path() / "missing.bin").string();

    const rombus::Settings settings = rombus::toolSettings();
    EXPECT_EQ(settings.crcLevel, 2u);
    EXPECT_GT(settings.logLevel, 4u); // above the highest priority: no log line
    EXPECT_TRUE(settings.registry.ends_with("share/rombus/oui-registry.txt")) << settings.registry;

    std::vector<std::string> errors;
    const rombus::Inspection inspection =
        rombus::inspectFiles({good, missing, bad}, settings, errors);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_NE(errors[0].find("missing.bin"), std::string::npos) << errors[0];
    ASSERT_EQ(inspection.nodes.size(), 2u);
    EXPECT_EQ(inspection.nodes[0].status(), NodeStatus::Ok);
    EXPECT_TRUE(inspection.nodes[0].records.isEmpty());
    EXPECT_EQ(inspection.nodes[1].status(), NodeStatus::Problems);
    EXPECT_FALSE(inspection.nodes[1].records.isEmpty());
    EXPECT_TRUE(rombus::hasProblems(inspection));
}

} // namespace
