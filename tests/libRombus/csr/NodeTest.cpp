#include "../ModuleFixture.h"
#include "libRombus/csr/Leaf.h"

namespace {

using libRombus::DeviceHandle;
using libRombus::Leaf;
using rombus_test::RomLayout;

class NodeTest : public rombus_test::ModuleTest {};

TEST_F(NodeTest, TargetsAndLocators) {
    auto accessor = node(std::vector<uint8_t>(64), 0x0001020304050607ull);
    Leaf leaf(0x40, {0x81, {0, 0, 0x10}}, accessor, parent());
    EXPECT_EQ(leaf.getOffset(), 0x80u);
    EXPECT_EQ(leaf.getHwLocator().str(), "IEEE1394NODE:0:0x0001020304050607:LEAF@fffff0000480");
    EXPECT_EQ(leaf.getName().str(), "Leaf - Descriptor");
    EXPECT_EQ(accessor.useCount(), 2u);

    Leaf self(0x40, {0x43, {0, 0, 0}}, accessor, DeviceHandle());
    EXPECT_EQ(self.getOffset(), 0x40u);
    EXPECT_EQ(self.getHwLocator().str(),
              "IEEE1394NODE:0:0x0001020304050607:CSR_OFFSET@fffff0000440");

    // The largest value points far past any ROM; the header read fails and nothing is recorded.
    Leaf wrapped(0x400, {0xD1, {0xFF, 0xFF, 0xFF}}, accessor, DeviceHandle());
    EXPECT_EQ(wrapped.getOffset(), 0x400u + 4u * 0xFFFFFFu);
    EXPECT_EQ(wrapped.getHwLocator().str(),
              "IEEE1394NODE:0:0x0001020304050607:DIRECTORY@fffff40007fc");
    EXPECT_FALSE(wrapped.verifyCRC());
    EXPECT_TRUE(logged("unable to read node header - offset 67109884 node type Directory - Unit"));
}

TEST_F(NodeTest, ADeviceIsMadeOnlyUnderAParentAndNotPublishedByConstruction) {
    auto accessor = node(std::vector<uint8_t>(64));
    size_t live = vesk5::SysInfoDevice::liveCount();
    {
        Leaf orphan(0x14, {0x81, {0, 0, 1}}, accessor, DeviceHandle());
        EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), live);
        DeviceHandle handle = parent();
        Leaf child(0x14, {0x81, {0, 0, 1}}, accessor, std::move(handle));
        EXPECT_TRUE(handle.isEmpty());
        EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), live + 2);
    }
    // The entry never destroys devices: they stay with the framework.
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), live + 2);
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
    EXPECT_EQ(accessor.useCount(), 1u);
}

TEST_F(NodeTest, HeaderCheckOutcomes) {
    RomLayout layout;
    int root = layout.directory({});
    int leaf = layout.leaf({0x11111111, 0x22222222});
    auto image = layout.image();
    const uint32_t at = layout.offsetOf(leaf);
    const lib1394::cr_key_value_t key{0x82, {0, 0, 0}};
    EXPECT_EQ(layout.offsetOf(root), 20u);

    Leaf good(at, key, node(image), DeviceHandle());
    EXPECT_TRUE(good.verifyCRC());
    EXPECT_TRUE(good.getMessages().isEmpty());

    image[at + 3] ^= 0x01;
    for (uint32_t level : {0u, 1u, 2u}) {
        setCrcLevel(level);
        Leaf bad(at, key, node(image), DeviceHandle());
        EXPECT_EQ(bad.verifyCRC(), level < 2);
        EXPECT_EQ(bad.getMessages().size(), level < 2 ? 0u : 1u);
    }
    EXPECT_TRUE(vesk5::DiagModule::reports().empty());

    lines.clear();
    Leaf shortRead(at, key,
                   node(image, 1,
                        [&](lib1394::MemoryNode& n) {
                            n.shortReadAt = at + 4;
                            n.shortCount = 4;
                        }),
                   DeviceHandle());
    EXPECT_FALSE(shortRead.verifyCRC());
    EXPECT_TRUE(shortRead.getMessages().isEmpty());
    EXPECT_TRUE(lines.empty());

    std::vector<uint8_t> empty(64);
    Leaf zeroLength(0x14, {0x82, {0, 0, 1}}, node(empty), DeviceHandle());
    EXPECT_TRUE(zeroLength.verifyCRC());
}

} // namespace
