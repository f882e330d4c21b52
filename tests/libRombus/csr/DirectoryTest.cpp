#include "libRombus/csr/Directory.h"
#include "../ModuleFixture.h"

namespace {

using libRombus::DeviceHandle;
using libRombus::Directory;
using rombus_test::RomLayout;

const std::string nodePrefix = "IEEE1394NODE:0:0x0001020304050607:";
const std::string rootLocator = nodePrefix + "DIRECTORY@fffff0000414";

class DirectoryTest : public rombus_test::ModuleTest {
protected:
    // Parses the layout's root directory, under a device or without one.
    bool parseRoot(const RomLayout& layout, bool checkCRC = true, bool withDevice = true) {
        return parseRootImage(layout.image(), checkCRC, withDevice);
    }

    bool parseRootImage(const std::vector<uint8_t>& image, bool checkCRC = true,
                        bool withDevice = true) {
        Directory root(20, {0xC0, {0, 0, 0}}, node(image), withDevice ? parent() : DeviceHandle());
        root.setKind(libRombus::KindRoot);
        bool ok = root.parse(checkCRC);
        records = texts(root.getMessages());
        return ok;
    }

    static std::string missing(const char* entry, const std::string& directory) {
        return std::string("2 A required CSR directory entry of type \"") + entry +
               "\" was not found in CSR directory \"" + directory + "\"";
    }

    static std::string notPermitted(const char* entry, const std::string& directory) {
        return std::string("2 A CSR directory entry of type \"") + entry +
               "\" is not permitted in CSR directory \"" + directory + "\"";
    }

    std::vector<std::string> records;
};

TEST_F(DirectoryTest, AWellFormedTreeIsPublishedParentFirst) {
    RomLayout layout;
    layout.directory(
        {RomLayout::immediate(0x03, 0xA027), RomLayout::ref(0x81, 1), RomLayout::ref(0xD1, 2)});
    layout.textLeaf("Rombus");
    layout.directory({RomLayout::immediate(0x12, 0x00F0), RomLayout::immediate(0x13, 0x010001)});

    EXPECT_TRUE(parseRoot(layout));
    EXPECT_TRUE(records.empty());
    const std::string unitLocator = nodePrefix + "DIRECTORY@" + "fffff0000438";
    EXPECT_EQ(publishedLocators(),
              (std::vector<std::string>{rootLocator, nodePrefix + "IMMEDIATE@fffff0000418",
                                        nodePrefix + "LEAF@fffff0000424", unitLocator,
                                        nodePrefix + "IMMEDIATE@fffff000043c",
                                        nodePrefix + "IMMEDIATE@fffff0000440"}));
    auto* vendor = published(nodePrefix + "IMMEDIATE@fffff0000418");
    EXPECT_EQ(vendor->name().zulString().str(), "Immediate - Vendor");
    EXPECT_EQ(property(vendor, "VendorName"), "SAMPLE VENDOR TWO");
    EXPECT_EQ(property(vendor, "ImmediateValue"), "40999");
    EXPECT_EQ(property(vendor, "__parentLocator"), rootLocator);
    EXPECT_EQ(property(published(rootLocator), "__parentLocator"), "PARENT-LOCATOR");
    EXPECT_EQ(property(published(nodePrefix + "LEAF@fffff0000424"), "TextString"), "Rombus");
    auto* specifier = published(nodePrefix + "IMMEDIATE@fffff000043c");
    EXPECT_EQ(property(specifier, "VendorName"), "SAMPLE VENDOR ONE");
    EXPECT_EQ(property(specifier, "__parentLocator"), unitLocator);
    auto* version = published(nodePrefix + "IMMEDIATE@fffff0000440");
    EXPECT_EQ(property(version, "VendorName"), "<none>");
    EXPECT_EQ(property(version, "ImmediateValue"), "65537");
}

TEST_F(DirectoryTest, RequiredEntriesAreCountedOverTheWholeBodyInTableOrder) {
    RomLayout leafOnly;
    leafOnly.directory({RomLayout::ref(0x83, 1)});
    leafOnly.leaf({1});
    EXPECT_FALSE(parseRoot(leafOnly));
    EXPECT_EQ(records, std::vector<std::string>{missing("Immediate - Vendor", rootLocator)});
    EXPECT_NE(published(nodePrefix + "LEAF@fffff000041c"), nullptr);

    RomLayout emptyUnit;
    emptyUnit.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xD1, 1)});
    emptyUnit.directory({RomLayout::immediate(0x17, 5)});
    EXPECT_FALSE(parseRoot(emptyUnit));
    const std::string unit = nodePrefix + "DIRECTORY@fffff0000420";
    EXPECT_EQ(records, (std::vector<std::string>{missing("Immediate - Specifier ID", unit),
                                                 missing("Immediate - Version", unit)}));

    RomLayout twice;
    twice.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xD1, 1)});
    twice.directory({RomLayout::immediate(0x12, 1), RomLayout::immediate(0x12, 2),
                     RomLayout::immediate(0x13, 1)});
    EXPECT_TRUE(parseRoot(twice));
    EXPECT_TRUE(records.empty());

    // A Vendor leaf does not stand for the immediate Vendor entry.
    RomLayout vendorLeaf;
    vendorLeaf.directory({RomLayout::ref(0x83, 1), RomLayout::immediate(0x43, 1)});
    vendorLeaf.leaf({});
    EXPECT_FALSE(parseRoot(vendorLeaf));
    EXPECT_EQ(records.size(), 2u);
}

TEST_F(DirectoryTest, AFailureStopsVerifyingAndParsingButNotTheWalk) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x0C, 0x83C0), RomLayout::ref(0x81, 2),
                      RomLayout::immediate(0x00, 0), RomLayout::immediate(0x12, 1),
                      RomLayout::immediate(0x13, 1)});
    layout.textLeaf("never read");
    EXPECT_FALSE(parseRoot(layout));
    const std::string unit = nodePrefix + "DIRECTORY@fffff0000420";
    EXPECT_EQ(records,
              std::vector<std::string>{notPermitted("Immediate - Node Capabilities", unit)});
    // The unit directory is published; nothing after the offending entry is.
    EXPECT_EQ(publishedLocators(),
              (std::vector<std::string>{rootLocator, nodePrefix + "IMMEDIATE@fffff0000418", unit}));
    // Children after the failure are still constructed: their devices exist, unpublished.
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 1u + 3u + 5u);
}

TEST_F(DirectoryTest, EntryRulesByKeyIdTypeAndKind) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xC3, 1)});
    layout.directory({RomLayout::immediate(0x17, 1), RomLayout::immediate(0x0C, 1)});
    EXPECT_FALSE(parseRoot(layout));
    EXPECT_EQ(records,
              std::vector<std::string>{notPermitted("Immediate - Node Capabilities",
                                                    nodePrefix + "DIRECTORY@fffff0000420")});

    struct Case {
        uint8_t key;
        bool permitted;
    };
    const Case cases[] = {{0x00, false}, {0xC0, false}, {0x54, true},  {0x5E, true},
                          {0x43, false}, {0x4C, false}, {0xE0, false}, {0x60, false},
                          {0xA0, false}, {0x8D, true},  {0x0C, true},  {0x19, false},
                          {0x99, true},  {0x38, true},  {0xB8, true},  {0xF8, true}};
    for (const Case& c : cases) {
        Directory root(20, {0xC0, {0, 0, 0}}, node(std::vector<uint8_t>(64)), DeviceHandle());
        root.setKind(libRombus::KindRoot);
        EXPECT_EQ(root.verifyEntry({c.key, {0, 0, 0}}), c.permitted) << std::hex << int(c.key);
    }
    EXPECT_TRUE(logged("For \"Directory - Root\" : Entry to verify is vendor or directory "
                       "specific - type 3h - key : 38h; not being verified at this time..."));
    // Without a device every refusal is raised as an error as well.
    EXPECT_EQ(vesk5::DiagModule::reports().size(), 8u);
}

TEST_F(DirectoryTest, SpecificKeysMakeTheirChildrenOrNone) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xF8, 1),
                      RomLayout::ref(0xB8, 1), RomLayout::immediate(0x38, 0xFFFFFF),
                      RomLayout::ref(0xE0, 1)});
    layout.leaf({7});
    EXPECT_FALSE(parseRoot(layout));
    EXPECT_EQ(records,
              std::vector<std::string>{notPermitted("Directory - Directory Id", rootLocator)});
    EXPECT_EQ(publishedLocators(),
              (std::vector<std::string>{rootLocator, nodePrefix + "IMMEDIATE@fffff0000418",
                                        nodePrefix + "LEAF@fffff000042c",
                                        nodePrefix + "IMMEDIATE@fffff0000424"}));
    EXPECT_EQ(property(published(nodePrefix + "IMMEDIATE@fffff0000424"), "ImmediateValue"),
              "16777215");
}

TEST_F(DirectoryTest, SharedSubdirectoriesAreParsedAtEveryReference) {
    RomLayout layout;
    layout.directory(
        {RomLayout::immediate(0x03, 1), RomLayout::ref(0xD1, 1), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 1), RomLayout::immediate(0x13, 1)});
    EXPECT_TRUE(parseRoot(layout));
    const std::string unit = nodePrefix + "DIRECTORY@fffff0000424";
    size_t seen = 0;
    for (const auto& locator : publishedLocators())
        seen += locator == unit;
    EXPECT_EQ(seen, 2u);
}

TEST_F(DirectoryTest, MalformedAndUnreadableDirectories) {
    RomLayout empty;
    empty.directory({});
    EXPECT_FALSE(parseRoot(empty));
    EXPECT_TRUE(logged("Malformed directory, length == 0"));
    EXPECT_EQ(publishedLocators(), std::vector<std::string>{rootLocator});
    EXPECT_TRUE(records.empty());

    RomLayout bad;
    bad.directory({RomLayout::immediate(0x03, 1)});
    auto image = bad.image();
    image[23] ^= 0x40;
    vesk5::SysInfoModule::reset();
    EXPECT_FALSE(parseRootImage(image));
    EXPECT_TRUE(logged("Directory::parse - CRC check failed, exiting"));
    EXPECT_EQ(records.size(), 1u);
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
    EXPECT_TRUE(parseRootImage(image, false));

    // A body longer than the ROM: only parseBody reads it when CRCs are not checked.
    image[20] = 0x01;
    lines.clear();
    EXPECT_FALSE(parseRootImage(image, false));
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_TRUE(logged("unable to read directory body"));
}

TEST_F(DirectoryTest, WithoutADeviceProblemsAreRaisedAndKeptButNothingIsPublished) {
    RomLayout layout;
    layout.directory({RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 1)});
    EXPECT_FALSE(parseRoot(layout, true, false));
    EXPECT_EQ(records, (std::vector<std::string>{
                           missing("Immediate - Version", nodePrefix + "DIRECTORY@fffff000041c"),
                           missing("Immediate - Vendor", rootLocator)}));
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 0u);
    const auto& reports = vesk5::DiagModule::reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].event, vesk5::VeskString("RequiredDirectoryEntryNotFound"));
    EXPECT_EQ(reports[1].sourceFile, vesk5::VeskString("csr/Directory"));
}

} // namespace
