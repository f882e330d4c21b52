#include "../ModuleFixture.h"
#include "libRombus/csr/DescriptorLeaf.h"

#include <cstdio>

namespace {

using libRombus::DescriptorLeaf;
using libRombus::DeviceHandle;
using rombus_test::RomLayout;

class LeafTest : public rombus_test::ModuleTest {
protected:
    // Parses a descriptor leaf laid out as the first block after an empty root directory.
    bool parseDescriptor(const std::vector<uint32_t>& body, bool checkCRC = true,
                         bool withDevice = true,
                         const std::function<void(std::vector<uint8_t>&, uint32_t)>& edit = {}) {
        RomLayout layout;
        layout.directory({});
        int leaf = layout.leaf(body);
        auto image = layout.image();
        at = layout.offsetOf(leaf);
        if (edit)
            edit(image, at);
        DescriptorLeaf descriptor(at - 4, {0x81, {0, 0, 1}}, node(image),
                                  withDevice ? parent() : DeviceHandle());
        bool ok = descriptor.parse(checkCRC);
        records = texts(descriptor.getMessages());
        return ok;
    }

    const vesk5::SysInfoDevice* leafDevice() const {
        char address[24];
        std::snprintf(address, sizeof address, "%llx", 0xFFFFF0000400ull + at);
        return published(std::string("IEEE1394NODE:0:0x0001020304050607:LEAF@") + address);
    }

    uint32_t at = 0;
    std::vector<std::string> records;
};

TEST_F(LeafTest, TextualDescriptorsGiveTheirTextUpToTheFirstZero) {
    const std::pair<std::vector<uint32_t>, std::string> cases[] = {
        {{0, 0, 0x41424300}, "ABC"},
        {{0, 0}, ""},
        {{0, 0x00030000, 0x41420043, 0x44000000}, "AB"},
        {{0, 0x20000000, 0x61626364, 0x65666768}, "abcdefgh"},
    };
    for (const auto& [body, text] : cases) {
        vesk5::SysInfoModule::reset();
        EXPECT_TRUE(parseDescriptor(body));
        EXPECT_EQ(property(leafDevice(), "TextString"), text);
        EXPECT_EQ(property(leafDevice(), "__parentLocator"), "PARENT-LOCATOR");
    }
}

TEST_F(LeafTest, DescriptorsThatAreNotMinimalAsciiArePublishedWithoutText) {
    const std::pair<std::vector<uint32_t>, const char*> cases[] = {
        {{0x0000A027, 0, 0x41000000},
         "specifier ID is non-zero (A027h), unable to interpret value"},
        {{0xFF000000, 0, 0x41000000}, "unspecified descriptor type"},
        {{0x07000000, 0, 0x41000000}, "unknown descriptor type (7h), unable to interpret value"},
        {{0x01000000, 0, 0x41000000}, nullptr},
        {{0, 0x03000000, 0x41000000}, nullptr},
        {{0, 0x30000000, 0x41000000}, nullptr},
    };
    for (const auto& [body, line] : cases) {
        vesk5::SysInfoModule::reset();
        lines.clear();
        EXPECT_TRUE(parseDescriptor(body));
        ASSERT_NE(leafDevice(), nullptr);
        EXPECT_EQ(property(leafDevice(), "TextString"), "<none>");
        EXPECT_EQ(lines.size(), line ? 1u : 0u);
        if (line) {
            EXPECT_TRUE(logged(line)) << line;
        }
    }
}

TEST_F(LeafTest, CrcAndReadFailures) {
    auto badCrc = [](std::vector<uint8_t>& image, uint32_t at) { image[at + 2] ^= 0xFF; };
    EXPECT_FALSE(parseDescriptor({0, 0, 0x41000000}, true, true, badCrc));
    EXPECT_EQ(records.size(), 1u);
    EXPECT_EQ(leafDevice(), nullptr);
    EXPECT_TRUE(logged("DescriptorLeaf::parse - CRC check failed, exiting"));

    EXPECT_TRUE(parseDescriptor({0, 0, 0x41000000}, false, true, badCrc));
    EXPECT_EQ(property(leafDevice(), "TextString"), "A");

    // The text reaches past the end of the image: its read comes back short.
    auto truncate = [](std::vector<uint8_t>& image, uint32_t at) { image.resize(at + 14); };
    EXPECT_FALSE(parseDescriptor({0, 0, 0x41000000}, false, true, truncate));
    EXPECT_TRUE(records.empty());
    EXPECT_TRUE(logged("unable to textual descriptor string"));

    auto cutAt8 = [](std::vector<uint8_t>& image, uint32_t at) { image.resize(at + 7); };
    EXPECT_FALSE(parseDescriptor({0, 0, 0x41000000}, false, false, cutAt8));
    EXPECT_EQ(records, std::vector<std::string>{"2 Configuration ROM read failed: read of 8 bytes "
                                                "at offset 18h"});
    ASSERT_EQ(vesk5::DiagModule::reports().size(), 1u);
    EXPECT_EQ(vesk5::DiagModule::reports()[0].sourceFile, vesk5::VeskString("csr/DescriptorLeaf"));

    auto cutAt12 = [](std::vector<uint8_t>& image, uint32_t at) { image.resize(at + 11); };
    EXPECT_FALSE(parseDescriptor({0, 0, 0x41000000}, false, true, cutAt12));
    EXPECT_EQ(records, std::vector<std::string>{"2 Configuration ROM read failed: read of 12 bytes "
                                                "at offset 18h"});
    EXPECT_EQ(vesk5::DiagModule::reports().size(), 1u);
}

TEST_F(LeafTest, ATextualDescriptorTooShortForItsTextFieldsReadsNoText) {
    for (uint32_t length : {0u, 1u}) {
        vesk5::SysInfoModule::reset();
        auto shorten = [length](std::vector<uint8_t>& image, uint32_t at) {
            image[at] = 0;
            image[at + 1] = static_cast<uint8_t>(length);
        };
        EXPECT_TRUE(parseDescriptor({0, 0, 0x41000000}, false, true, shorten));
        EXPECT_EQ(property(leafDevice(), "TextString"), "");
    }
}

TEST_F(LeafTest, PlainLeavesAreOnlyCheckedAndPublished) {
    RomLayout layout;
    layout.directory({});
    int block = layout.leaf({0xDEADBEEF});
    auto image = layout.image();
    uint32_t offset = layout.offsetOf(block);
    image[offset + 3] ^= 1;
    auto accessor = node(image);
    libRombus::Leaf checked(offset, {0x8D, {0, 0, 0}}, accessor, parent());
    EXPECT_FALSE(checked.parse(true));
    EXPECT_TRUE(logged("Leaf::parse - CRC check failed, exiting"));
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());

    // Without CRC checks nothing of the block is read, even when it lies outside the ROM.
    libRombus::Leaf unchecked(0x3FC, {0x8D, {0, 0x10, 0}}, accessor, parent());
    EXPECT_TRUE(unchecked.parse(false));
    EXPECT_EQ(publishedLocators(),
              std::vector<std::string>{"IEEE1394NODE:0:0x0001020304050607:LEAF@fffff00047fc"});
}

} // namespace
