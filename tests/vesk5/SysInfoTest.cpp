#include "vesk5/SysInfoModule.h"

#include <gtest/gtest.h>

namespace {

using vesk5::DataType;
using vesk5::DeviceCapability;
using vesk5::PropertyCategory;
using vesk5::Value;

TEST(TypesTest, ValuesParametersAndCategories) {
    EXPECT_EQ(Value(false).text(), zul::String("false"));
    EXPECT_EQ(Value(uint32_t{0xFFFFFFFF}).text(), zul::String("4294967295"));
    EXPECT_NE(Value(uint32_t{1}), Value(true)) << "same number, different type";
    EXPECT_EQ(vesk5::Parameter("text", DataType::STRING()).value(), Value(""));
    EXPECT_EQ(vesk5::Parameter("count", DataType::UINT32()).value(), Value(uint32_t{0}));

    PropertyCategory both = PropertyCategory::Internal() | PropertyCategory::SysInfo();
    EXPECT_TRUE(both.contains(PropertyCategory::Internal()));
    EXPECT_FALSE(both.contains(PropertyCategory::Tier3()));
    EXPECT_FALSE(PropertyCategory::SysInfo().contains(both));
}

class SysInfoTest : public testing::Test {
protected:
    void TearDown() override { vesk5::SysInfoModule::reset(); }

    static vesk5::SysInfoDevice* create(const char* name) {
        return vesk5::SysInfoDevice::createGeneric(DeviceCapability::IEEE1394(),
                                                   DeviceCapability::NIL(), name, "locator",
                                                   "description", name);
    }
};

TEST_F(SysInfoTest, DevicesKeepPropertyValuesAndPublishedCopies) {
    vesk5::DeviceProperty* guid = vesk5::SysInfoModule::createDeviceProperty(
        "guid", PropertyCategory::SysInfo(), DataType::STRING(), DeviceCapability::IEEE1394());
    vesk5::SysInfoDevice* first = create("first");
    guid->setValue(Value("0001"));
    first->addProperty(guid);
    guid->setValue(Value("0002"));
    first->addProperty(nullptr);
    first->addChildBusId("bus", 0, 0, 0, 0, 0);
    EXPECT_EQ(first->properties().size(), 1u);

    vesk5::SysInfoModule::addDevice(first);
    delete first;
    vesk5::SysInfoModule::addDevice(nullptr);
    const auto& published = vesk5::SysInfoModule::publishedDevices();
    ASSERT_EQ(published.size(), 1u);
    ASSERT_NE(published[0].findProperty("guid"), nullptr);
    EXPECT_EQ(published[0].findProperty("guid")->value, Value("0001"));
    EXPECT_EQ(published[0].childBusIds().size(), 1u);
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 0u) << "copies are not created devices";
}

TEST_F(SysInfoTest, CreatedDevicesAreCountedAndResetDestroysThem) {
    size_t live = vesk5::SysInfoDevice::liveCount();
    vesk5::SysInfoDevice* kept = create("kept");
    delete create("deleted");
    vesk5::SysInfoDevice* older = create("older");
    create("forgotten");
    delete older;
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), live + 2);
    vesk5::SysInfoModule::addDevice(kept);
    vesk5::SysInfoModule::reset();
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 0u);
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
}

TEST_F(SysInfoTest, ARefusedClassGetsNoDevicesUntilAdmittedAgain) {
    const auto firmware = [] {
        return vesk5::SysInfoDevice::createGeneric(
            DeviceCapability::Firmware(), DeviceCapability::IEEE1394(), "entry", "at", "", "at");
    };
    vesk5::SysInfoModule::refuseDevicesOf(&DeviceCapability::Firmware());
    EXPECT_EQ(firmware(), nullptr);
    EXPECT_NE(create("bus device"), nullptr);
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 1u);
    vesk5::SysInfoModule::refuseDevicesOf(nullptr);
    EXPECT_NE(firmware(), nullptr);
    vesk5::SysInfoModule::refuseDevicesOf(&DeviceCapability::Firmware());
    vesk5::SysInfoModule::reset();
    EXPECT_EQ(vesk5::SysInfoModule::refusedClass(), nullptr);
    EXPECT_NE(firmware(), nullptr);
}

} // namespace
