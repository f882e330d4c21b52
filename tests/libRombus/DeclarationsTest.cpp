#include "ModuleFixture.h"

#include <vesk5/SysInfoModule.h>

#include <algorithm>

namespace {

using libRombus::declared;

class DeclarationsTest : public rombus_test::ModuleTest {};

std::vector<std::string> namesOf(const std::vector<vesk5::DeviceProperty*>& properties) {
    std::vector<std::string> out;
    for (auto* property : properties)
        out.push_back(property->name().zulString().str());
    return out;
}

// Runs before libRombus::init is ever called in this process.
TEST_F(DeclarationsTest, EverythingIsDeclaredAtLoadInOrder) {
    const auto& parameters = vesk5::SysInfoModule::parameters();
    ASSERT_EQ(parameters.size(), 2u);
    EXPECT_EQ(parameters[0], declared.IEEEVendorRegistryFile);
    EXPECT_EQ(parameters[1]->type(), vesk5::DataType::UINT32());

    EXPECT_EQ(namesOf(vesk5::SysInfoModule::deviceProperties()),
              (std::vector<std::string>{"__parentLocator", "ConfigROMAccessible", "IsoResManCap",
                                        "CycleMasterCap", "IsoCap", "BusManCap", "PowerManCap",
                                        "CycleClockAcc", "MaxDataRecSize", "TextString",
                                        "ImmediateValue", "VendorName"}));
    using vesk5::PropertyCategory;
    const auto both = PropertyCategory::Tier3() | PropertyCategory::SysInfo();
    EXPECT_EQ(declared.TextString->category().bits(), both.bits());
    EXPECT_EQ(declared.parentLocator->category().bits(),
              (PropertyCategory::Internal() | PropertyCategory::ParentKey()).bits());
    EXPECT_EQ(declared.ConfigROMAccessible->type(), vesk5::DataType::BOOLEAN());

    const auto& events = vesk5::DiagModule::events();
    ASSERT_EQ(events.size(), 5u);
    EXPECT_EQ(events[0]->name(), vesk5::VeskString("DirectoryEntryNotPermitted"));
    EXPECT_EQ(events[4]->name(), vesk5::VeskString("SignatureCheckFailed"));
    EXPECT_EQ(declared.ReadFailed.message->id(), vesk5::VeskString("ReadFailed"));
    EXPECT_EQ(vesk5::LocalizedStringSpec::find("SignatureCheckFailed"),
              declared.SignatureCheckFailed.message);
    EXPECT_TRUE(vesk5::DiagModule::libraries().empty());
}

TEST_F(DeclarationsTest, InitRegistersOnceAndPublishingNeedsADevice) {
    libRombus::os_init();
    libRombus::init();
    libRombus::init();
    libRombus::os_init();
    EXPECT_EQ(vesk5::DiagModule::libraries(),
              std::vector<vesk5::VeskString>{vesk5::VeskString("libRombus")});

    libRombus::publishProperty(declared.ImmediateValue, nullptr, uint32_t{5});
    libRombus::publishProperty(nullptr, nullptr, true);
    vesk5::SysInfoDevice* device = makeDevice("d");
    libRombus::publishProperty(declared.ImmediateValue, device, uint32_t{7});
    libRombus::publishProperty(declared.ImmediateValue, device, uint32_t{9});
    ASSERT_EQ(device->properties().size(), 2u);
    EXPECT_EQ(device->properties()[0].value.valueUint32(), 7u);
    EXPECT_EQ(device->properties()[1].value.valueUint32(), 9u);
}

} // namespace
