// The pieces the per-node model is built from: the one naming rule of units, the registry the
// names fall back to, texts as the kernel shows them, and the way a published device or a record
// finds its entry in the decoded ROM.
#include "inspect/io/RegistryNames.h"
#include "inspect/knowledge/UnitTypes.h"
#include "inspect/model/NodeView.h"

#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using rombus_test::RomLayout;

TEST(NodeModel, AUnitIsNamedByItsArchitectureThenByItsCompany) {
    using rombus::decode::unitName;
    const std::optional<std::string> maker = "Example Maker";
    // Known architectures keep their names whoever is said to own the id.
    EXPECT_EQ(unitName(0x00609E, 0x010483, maker), "SBP-2 (storage)");
    EXPECT_EQ(unitName(0x00A02D, 0x010001, std::nullopt), "AV/C");
    // A standards body's unknown version is no company's own unit.
    EXPECT_EQ(unitName(0x00A02D, 0x7FFFFF, maker), "unknown unit type");
    EXPECT_EQ(unitName(0xACDE48, 0x000001, maker), "vendor-specific unit of Example Maker");
    EXPECT_EQ(unitName(0xACDE48, 0x000001, std::nullopt), "unknown unit type");
    EXPECT_EQ(unitName(0xACDE48, 0x000001, std::string()), "unknown unit type");
}

TEST(NodeModel, TextsLoseTheirTrailingWhiteSpaceOnly) {
    using rombus::shownText;
    EXPECT_EQ(shownText("Disk   "), "Disk");
    EXPECT_EQ(shownText(" Disk \t\r\n\v\f"), " Disk");
    EXPECT_EQ(shownText("Two  words"), "Two  words");
    EXPECT_EQ(shownText(" \t "), "");
    EXPECT_EQ(shownText(""), "");
    // Bytes above 7Fh are no white space, whatever the locale.
    EXPECT_EQ(shownText("Caf\xE9\xA0"), "Caf\xE9\xA0");
}

TEST(NodeModel, RegistryNamesReadTheModulesFormatOnce) {
    const rombus_test::TestFolder folder;
    const std::string path = folder.write("registry.txt", "00609E NCITS\r\n"
                                                          "00609E Second name\n"
                                                          "00a02d lower case is not taken\n"
                                                          "ACDE48\tIEEE example company id\n"
                                                          "123456\n"
                                                          "not a line\n");
    rombus::RegistryNames names(path);
    EXPECT_EQ(names.nameOf(0x00609E), "NCITS");
    std::filesystem::remove(path);
    // Read once, when first asked: the file is not needed again.
    EXPECT_EQ(names.nameOf(0xACDE48), "IEEE example company id");
    EXPECT_EQ(names.nameOf(0x00A02D), std::nullopt);
    EXPECT_EQ(names.nameOf(0x123456), std::nullopt);
    EXPECT_EQ(names.nameOf(0x000000), std::nullopt);
    rombus::RegistryNames missing((folder.path() / "none.txt").string());
    EXPECT_EQ(missing.nameOf(0x00609E), std::nullopt);
}

TEST(NodeModel, DevicesAndRecordsFindTheirEntries) {
    RomLayout layout;
    layout.directory(
        {RomLayout::immediate(0x03, 0xACDE48), RomLayout::ref(0x81, 2), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 0x010483),
                      RomLayout::ref(0x81, 2)});
    layout.textLeaf("Shared");
    rombus::NodeView node;
    node.decoded = rombus::decode::decodeRom(layout.image());
    const uint32_t unit = layout.offsetOf(1), leaf = layout.offsetOf(2);
    const std::string prefix = "IEEE1394NODE:0:0x0001020304050607:";
    auto at = [&](const char* word, uint32_t offset) {
        char text[64];
        std::snprintf(text, sizeof text, "%s@%llx", word, 0xFFFFF0000400ull + offset);
        return node.entryOfLocator(prefix + text);
    };
    // An immediate entry's device names the entry, a leaf's or directory's the block: the first
    // entry that reaches a shared leaf stands for it.
    ASSERT_NE(at("IMMEDIATE", 0x18), nullptr);
    EXPECT_EQ(at("IMMEDIATE", 0x18)->key, 0x03);
    ASSERT_NE(at("DIRECTORY", unit), nullptr);
    EXPECT_EQ(at("DIRECTORY", unit)->offset, 0x20u);
    ASSERT_NE(at("LEAF", leaf), nullptr);
    EXPECT_EQ(at("LEAF", leaf)->offset, 0x1Cu);
    EXPECT_EQ(at("DIRECTORY", 0x14), nullptr);
    EXPECT_EQ(rombus::NodeView::offsetOfLocator(prefix + "DIRECTORY@fffff0000414"), 0x14u);
    EXPECT_EQ(at("LEAF", 0x1000), nullptr);
    EXPECT_EQ(node.entryOfLocator("IEEE1394NODE:0:0x0001020304050607"), nullptr);

    // A record at the unit directory's block or at one of its entries marks that entry.
    node.explanations.resize(3);
    node.explanations[0].offset = unit;
    node.explanations[1].offset = unit + 8;
    const rombus::decode::RomEntry* directory = at("DIRECTORY", unit);
    EXPECT_EQ(node.recordsAt(*directory), std::vector<size_t>{0});
    EXPECT_EQ(node.recordsAt(directory->children[1]), std::vector<size_t>{1});
    EXPECT_TRUE(node.recordsAt(directory->children[0]).empty());
}

} // namespace
