#include "libRombus/csr/Immediate.h"
#include "../ModuleFixture.h"

namespace {

using libRombus::DeviceHandle;
using libRombus::Immediate;

class ImmediateTest : public rombus_test::ModuleTest {};

TEST_F(ImmediateTest, VendorNamesAreLookedUpOnlyForCompanyIdsWithTheCurrentRegistry) {
    auto accessor = node(std::vector<uint8_t>(32));
    const std::string at = "IEEE1394NODE:0:0x0001020304050607:IMMEDIATE@fffff0000418";
    struct Case {
        uint8_t key;
        uint32_t value;
        const char* vendor;
    };
    const Case cases[] = {{0x03, 0x00A027, "SAMPLE VENDOR TWO"},
                          {0x12, 0x0000F0, "SAMPLE VENDOR ONE"},
                          {0x03, 0x123456, "<none>"},
                          {0x17, 0x00A027, "<none>"},
                          {0x38, 0x0000F0, "<none>"}};
    for (const Case& c : cases) {
        vesk5::SysInfoModule::reset();
        Immediate entry(0x18,
                        {c.key, {uint8_t(c.value >> 16), uint8_t(c.value >> 8), uint8_t(c.value)}},
                        accessor, parent());
        EXPECT_EQ(entry.getHwLocator().str(), at);
        EXPECT_TRUE(entry.parse(false));
        ASSERT_EQ(publishedLocators(), std::vector<std::string>{at});
        EXPECT_EQ(property(published(at), "VendorName"), c.vendor);
        EXPECT_EQ(property(published(at), "ImmediateValue"), std::to_string(c.value));
    }

    const std::string other = folder->write("other-registry.txt", "00A027 RENAMED VENDOR\n");
    libRombus::declared.IEEEVendorRegistryFile->setValue(vesk5::Value(other.c_str()));
    vesk5::SysInfoModule::reset();
    Immediate renamed(0x18, {0x03, {0x00, 0xA0, 0x27}}, accessor, parent());
    EXPECT_TRUE(renamed.parse(true));
    EXPECT_EQ(property(published(at), "VendorName"), "RENAMED VENDOR");
}

TEST_F(ImmediateTest, WithoutADeviceNothingIsMadeOrPublished) {
    auto accessor = node(std::vector<uint8_t>(32));
    Immediate entry(0x18, {0x03, {0x00, 0xA0, 0x27}}, accessor, DeviceHandle());
    EXPECT_TRUE(entry.parse(true));
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 0u);
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
    EXPECT_TRUE(lines.empty());
}

} // namespace
