#include "libRombus/Lib1394SysInfo.h"
#include "ModuleFixture.h"

#include "rombus_support/HostileRoms.h"
#include "vesk5/LocalizedString.h"

#include <cstdio>
#include <fstream>

namespace {

using libRombus::DeviceHandle;
using libRombus::lib1394_enum_log;
using libRombus::Lib1394SysInfo;
using rombus_test::deepDoublingRom;
using rombus_test::lookupStormRom;
using rombus_test::RomLayout;

// A node with a root directory holding its Vendor entry.
RomLayout validRom(uint64_t guid = 0x0001020304050607ull, uint8_t capabilities = 0xE0,
                   uint8_t maxRec = 8) {
    RomLayout layout(guid, capabilities, maxRec);
    layout.directory({RomLayout::immediate(0x03, 0xA027), RomLayout::immediate(0x17, 1)});
    return layout;
}

class Lib1394SysInfoTest : public rombus_test::ModuleTest {
protected:
    // Reads one image through a reader bound to a fresh device, or without one.
    bool read(const std::vector<uint8_t>& image, bool checkCRC = true, bool withDevice = true,
              const std::function<void(lib1394::MemoryNode&)>& fault = {}) {
        vesk5::SysInfoModule::reset();
        auto accessor = node(image, 0x0001020304050607ull, fault);
        device = makeDevice("NODE");
        Lib1394SysInfo reader(accessor, withDevice ? DeviceHandle(device) : DeviceHandle());
        bool ok = reader.readConfigROM(checkCRC);
        records = texts(reader.getMessages());
        return ok;
    }

    std::string busOption(const char* name) const { return property(device, name); }

    vesk5::SysInfoDevice* device = nullptr;
    std::vector<std::string> records;
};

// The line of a source file of the module that holds a fragment: the number its log lines begin
// with. 0 when no line holds it.
int lineOf(const std::string& file, const std::string& fragment) {
    std::ifstream in(std::string(ROMBUS_SOURCE_DIR) + "/" + file);
    int number = 0;
    for (std::string line; std::getline(in, line);)
        if (++number, line.find(fragment) != std::string::npos)
            return number;
    return 0;
}

TEST_F(Lib1394SysInfoTest, TheFirstReadFailingLeavesOneRecordAndNothingElse) {
    auto image = validRom().image();
    image.resize(19);
    EXPECT_FALSE(read(image));
    EXPECT_EQ(records, std::vector<std::string>{
                           "1 Configuration ROM read failed: read of 20 bytes at offset 0h"});
    EXPECT_TRUE(device->properties().empty());
    const std::string text = "read config rom base structures failed";
    EXPECT_EQ(lines, std::vector<std::string>{
                         "libRombus.Lib1394SysInfo|4|" +
                         std::to_string(lineOf("libRombus/Lib1394SysInfo.cpp",
                                               "zul::LOG_FAILURE, \"" + text + "\"")) +
                         " " + text});

    EXPECT_FALSE(read(image, true, false));
    ASSERT_EQ(vesk5::DiagModule::reports().size(), 1u);
    EXPECT_EQ(vesk5::DiagModule::reports()[0].severity, vesk5::DiagModule::Severity::Warning);

    EXPECT_FALSE(
        read(validRom().image(), true, true, [](lib1394::MemoryNode& n) { n.accessible = false; }));
    EXPECT_TRUE(records.empty());
}

TEST_F(Lib1394SysInfoTest, BusInformationBlockCrc) {
    auto image = validRom().image();
    image[1] = 0;
    image[2] = image[3] = 0xEE;
    EXPECT_TRUE(read(image));
    EXPECT_TRUE(records.empty());
    EXPECT_TRUE(logged("libRombus.Lib1394SysInfo|1|"));
    EXPECT_TRUE(logged(" CRC length : 0"));
    EXPECT_EQ(publishedLocators().size(), 3u);

    image[1] = 4;
    EXPECT_FALSE(read(image));
    ASSERT_EQ(records.size(), 1u);
    // Found: the CRC of the four quadlets with their bytes reversed, its two bytes exchanged.
    std::vector<uint32_t> reversed;
    for (size_t at = 4; at < 20; at += 4)
        reversed.push_back(uint32_t{image[at + 3]} << 24 | uint32_t{image[at + 2]} << 16 |
                           uint32_t{image[at + 1]} << 8 | image[at]);
    const uint16_t found = rombus_test::crc16(reversed, 0, 4);
    char foundText[8];
    std::snprintf(foundText, sizeof foundText, "%Xh", unsigned(found >> 8 | (found & 0xFF) << 8));
    EXPECT_EQ(records[0],
              std::string("2 configuration rom CRC check failed: expected EEEEh, found ") +
                  foundText + " at offset 4h");
    EXPECT_EQ(busOption("IsoResManCap"), "true");
    EXPECT_EQ(publishedLocators().size(), 0u);

    setCrcLevel(1);
    EXPECT_TRUE(read(image, true, false));
    EXPECT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0][0], '1');
    ASSERT_EQ(vesk5::DiagModule::reports().size(), 1u);
    EXPECT_EQ(vesk5::DiagModule::reports()[0].severity, vesk5::DiagModule::Severity::Warning);

    setCrcLevel(0);
    EXPECT_TRUE(read(image, true, false));
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(vesk5::DiagModule::reports().size(), 1u);

    setCrcLevel(2);
    lines.clear();
    EXPECT_TRUE(read(image, false));
    EXPECT_TRUE(records.empty());
    EXPECT_FALSE(logged("CRC length"));

    image[1] = 0xFF;
    EXPECT_FALSE(read(image));
    EXPECT_EQ(records, std::vector<std::string>{
                           "1 Configuration ROM read failed: read of 1020 bytes at offset 4h"});
    EXPECT_EQ(busOption("IsoCap"), "true");
}

TEST_F(Lib1394SysInfoTest, BadBusNames) {
    const std::pair<uint32_t, const char*> names[] = {
        {0x31333935, "31333935h"}, {0x00000000, "0000h"}, {0x0A0B0C0D, "ABCDh"}};
    for (auto [name, found] : names) {
        auto image = validRom().image();
        for (int i = 0; i < 4; ++i)
            image[4 + i] = static_cast<uint8_t>(name >> (24 - 8 * i));
        EXPECT_FALSE(read(image, false));
        EXPECT_EQ(records, std::vector<std::string>{
                               std::string("2 Bus Information Block signature mismatch: expected "
                                           "31333934h, found ") +
                               found + " at offset 0404h"});
        EXPECT_EQ(busOption("PowerManCap"), "false");
        EXPECT_TRUE(publishedLocators().empty());
    }
}

TEST_F(Lib1394SysInfoTest, BusOptionsAndTheirBounds) {
    struct Case {
        uint8_t capabilities, clock, maxRec;
        const char* flags;
        const char* cycleClock;
        const char* maxSize;
    };
    const Case cases[] = {{0xA0, 0x64, 0x0, "true,false,true,false,false", "<none>", "<none>"},
                          {0x40, 0x64, 0x1, "false,true,false,false,false", "100", "4"},
                          {0x18, 0x00, 0xA, "false,false,false,true,true", "<none>", "2048"},
                          {0xFF, 0x07, 0xB, "true,true,true,true,true", "7", "<none>"},
                          {0x00, 0x00, 0xF, "false,false,false,false,false", "<none>", "<none>"}};
    for (const Case& c : cases) {
        auto image = validRom(1, c.capabilities, c.maxRec).image();
        image[9] = c.clock;
        read(image, false);
        std::string flags;
        for (const char* name :
             {"IsoResManCap", "CycleMasterCap", "IsoCap", "BusManCap", "PowerManCap"})
            flags += (flags.empty() ? "" : ",") + busOption(name);
        EXPECT_EQ(flags, c.flags);
        EXPECT_EQ(busOption("CycleClockAcc"), c.cycleClock);
        EXPECT_EQ(busOption("MaxDataRecSize"), c.maxSize);
    }
}

TEST_F(Lib1394SysInfoTest, RecordsAccumulateAndAreSharedWithCopies) {
    RomLayout noVendor;
    noVendor.directory({RomLayout::immediate(0x17, 1)});
    auto accessor = node(noVendor.image());
    size_t strings = vesk5::LocalizedString::liveCount();
    {
        Lib1394SysInfo reader(accessor, DeviceHandle());
        EXPECT_FALSE(reader.readConfigROM(true));
        EXPECT_FALSE(reader.readRootDirectory(false));
        ASSERT_EQ(reader.getMessages().size(), 2u);
        EXPECT_EQ(vesk5::DiagModule::reports().size(), 2u);

        auto copy = std::make_unique<Lib1394SysInfo>(reader);
        Lib1394SysInfo assigned(accessor, DeviceHandle());
        assigned = *copy;
        assigned = assigned;
        EXPECT_EQ(accessor.useCount(), 4u);
        EXPECT_EQ(reader.getMessages()[0].message.useCount(), 3u);
        copy.reset();
        EXPECT_EQ(texts(assigned.getMessages()), texts(reader.getMessages()));
        EXPECT_EQ(vesk5::LocalizedString::liveCount(), strings + 2);
    }
    EXPECT_EQ(vesk5::LocalizedString::liveCount(), strings);
    EXPECT_EQ(accessor.useCount(), 1u);
}

TEST_F(Lib1394SysInfoTest, AttachingNeedsADevice) {
    auto accessor = node(validRom().image());
    Lib1394SysInfo reader(accessor, DeviceHandle());
    EXPECT_FALSE(reader.attachSysInfo(DeviceHandle()));
    EXPECT_TRUE(logged("|4|"));
    EXPECT_TRUE(logged("Lib1394SysInfo::attachSysInfo - no device passed in to attach sysinfo to"));
    EXPECT_TRUE(reader.getMessages().isEmpty());
    vesk5::SysInfoDevice* nodeDevice = makeDevice("n");
    DeviceHandle handle(nodeDevice);
    EXPECT_TRUE(reader.attachSysInfo(std::move(handle)));
    EXPECT_TRUE(handle.isEmpty());
    EXPECT_EQ(property(nodeDevice, "IsoCap"), "true");
}

class EnumerationTest : public Lib1394SysInfoTest {};

TEST_F(EnumerationTest, PortsAndNodesInOrderWithTheirRecords) {
    bus->addPort();
    bus->addNode(0, validRom(0x0011223344556677ull).image(), 0x0011223344556677ull);
    RomLayout badName = validRom(0x0123456789ABCDEFull);
    auto broken = badName.image();
    broken[7] = 0x35;
    bus->addNode(0, broken, 0x0123456789ABCDEFull);
    bus->addNode(0, {}, 0).accessible = false;
    bus->addPort();
    bus->addPort().nodeCount = 4;
    bus->addNode(2, validRom().image(), 5);
    bus->addNode(2, validRom().image(), 6);
    bus->port(2).guidsListed = 1;

    zul::Array<lib1394_enum_log> out;
    out.append({"earlier", {}});
    size_t strings = vesk5::LocalizedString::liveCount();
    size_t accessors = lib1394::ConfigROMAccessor::liveCount();
    EXPECT_TRUE(Lib1394SysInfo::enumerateAll(out));

    std::vector<std::string> locators;
    for (const auto& record : out)
        locators.push_back(record.locator.str());
    EXPECT_EQ(locators,
              (std::vector<std::string>{"earlier", "IEEE1394NODE:0:0011223344556677h",
                                        "IEEE1394NODE:0:0123456789abcdefh", "IEEE1394NODE:0:2",
                                        "IEEE1394NODE:2:0000000000000005h", "IEEE1394NODE:2:1",
                                        "IEEE1394NODE:2:2", "IEEE1394NODE:2:3"}));
    EXPECT_TRUE(out[1].messages.isEmpty());
    // The changed bus name breaks the ROM CRC as well: both records, in the order found.
    ASSERT_EQ(out[2].messages.size(), 2u);
    EXPECT_EQ(texts(out[2].messages)[0].rfind("2 configuration rom CRC check failed", 0), 0u);
    EXPECT_NE(texts(out[2].messages)[1].find("found 31333935h"), std::string::npos);
    EXPECT_TRUE(out[3].messages.isEmpty());
    EXPECT_TRUE(vesk5::DiagModule::reports().empty());

    std::vector<std::string> top;
    for (const auto& device : vesk5::SysInfoModule::publishedDevices())
        if (device.hwLocator().zulString().str().find(":0x") == std::string::npos)
            top.push_back(device.hwLocator().zulString().str() + " " +
                          property(&device, "ConfigROMAccessible"));
    EXPECT_EQ(top, (std::vector<std::string>{
                       "IEEE1394PORT:0 true", "IEEE1394NODE:0:0011223344556677h true",
                       "IEEE1394NODE:0:0123456789abcdefh true", "IEEE1394NODE:0:2 false",
                       "IEEE1394PORT:1 true", "IEEE1394PORT:2 true",
                       "IEEE1394NODE:2:0000000000000005h true", "IEEE1394NODE:2:1 true",
                       "IEEE1394NODE:2:2 false", "IEEE1394NODE:2:3 false"}));
    const auto& first = vesk5::SysInfoModule::publishedDevices();
    EXPECT_EQ(first[0].childBusIds(), std::vector<vesk5::VeskString>{"IEEE1394NODE:0"});
    EXPECT_EQ(first[4].hwLocator(), vesk5::VeskString("IEEE1394NODE:0:0011223344556677h"));
    EXPECT_EQ(first[4].childBusIds(),
              std::vector<vesk5::VeskString>{"IEEE1394NODE:0:0011223344556677h"});
    EXPECT_EQ(property(&first[1], "__parentLocator"), "IEEE1394NODE:0:0011223344556677h");
    EXPECT_TRUE(logged("error attaching sysinfo for IEEE1394NODE:0:0123456789abcdefh"));
    EXPECT_TRUE(logged("error attaching sysinfo for IEEE1394NODE:0:2"));

    EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), accessors);
    out = zul::Array<lib1394_enum_log>();
    EXPECT_EQ(vesk5::LocalizedString::liveCount(), strings);
    vesk5::SysInfoModule::reset();
    EXPECT_EQ(vesk5::SysInfoDevice::liveCount(), 0u);
}

// The entry devices published for a node's ROM: their locators name its GUID.
size_t entryDevicesOf(uint64_t guid) {
    char prefix[48];
    std::snprintf(prefix, sizeof prefix,
                  "IEEE1394NODE:0:0x%016llx:", static_cast<unsigned long long>(guid));
    size_t count = 0;
    for (const auto& device : vesk5::SysInfoModule::publishedDevices())
        count += device.hwLocator().zulString().str().rfind(prefix, 0) == 0;
    return count;
}

// A root directory whose 250 entries fill a ROM of 256 quadlets: the most entries a ROM can
// hold when every block is reached once.
RomLayout fullRoot(uint64_t guid) {
    RomLayout rom(guid);
    std::vector<RomLayout::Item> items(249, RomLayout::immediate(0x17, 0x000001));
    items.insert(items.begin(), RomLayout::immediate(0x03, 0x00A027));
    rom.directory(items);
    return rom;
}

// Root and three unit directories that all name one textual descriptor: 15 entries, the root
// directory included.
RomLayout sharedDescriptor(uint64_t guid) {
    RomLayout rom(guid);
    const int text = 4; // after the directories: an entry can only point forward
    rom.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0x81, text),
                   RomLayout::ref(0xD1, 1), RomLayout::ref(0xD1, 2), RomLayout::ref(0xD1, 3)});
    for (uint32_t version = 1; version <= 3; ++version)
        rom.directory({RomLayout::immediate(0x12, 0x00A027), RomLayout::immediate(0x13, version),
                       RomLayout::ref(0x81, text)});
    rom.textLeaf("Shared Name");
    return rom;
}

TEST_F(EnumerationTest, EveryNodeIsBoundedByItsEntryBudgetAndSaneRomsAreReadInFull) {
    const uint64_t full = 0x10, shared = 0x11, deep = 0x12, storm = 0x13;
    ASSERT_EQ(fullRoot(full).image().size(), lib1394::MaxRomSize);
    bus->addPort();
    bus->addNode(0, deepDoublingRom(deep), deep);
    bus->addNode(0, lookupStormRom(storm), storm);
    bus->addNode(0, fullRoot(full).image(), full);
    bus->addNode(0, sharedDescriptor(shared).image(), shared);
    lib1394::ConfigROMContext::clearExhaustedNodes();
    zul::LogFactory::setPriority(zul::LOG_FAILURE);

    zul::Array<lib1394_enum_log> out;
    EXPECT_TRUE(Lib1394SysInfo::enumerateAll(out));
    const auto& exhausted = lib1394::ConfigROMContext::exhaustedNodes();
    ASSERT_EQ(exhausted.size(), 2u);
    EXPECT_EQ(exhausted[0].nodeId, 0xFFC0u);
    EXPECT_EQ(exhausted[1].nodeId, 0xFFC1u);
    EXPECT_EQ(exhausted[0].spent, lib1394::Budget::Entries);
    EXPECT_EQ(exhausted[1].spent, lib1394::Budget::Lookups);
    // Past the budget the entries of the directory in hand are still made, but publish nothing
    // and look no vendor up.
    const size_t budget = lib1394::ConfigROMContext::DefaultEntryBudget;
    EXPECT_EQ(entryDevicesOf(deep), budget);
    // The storm's root directory, its vendor id (the first lookup) and the twelve directories
    // down to the last one; there, the vendor ids up to the one whose lookup is past the budget.
    EXPECT_EQ(entryDevicesOf(storm), 14 + lib1394::ConfigROMContext::DefaultLookupBudget);
    ASSERT_EQ(out.size(), 4u);
    EXPECT_TRUE(out[2].messages.isEmpty());
    EXPECT_TRUE(out[3].messages.isEmpty());
    EXPECT_EQ(entryDevicesOf(full), 251u);
    EXPECT_EQ(entryDevicesOf(shared), 15u);
    lib1394::ConfigROMContext::clearExhaustedNodes();
}

// A root directory of vendor ids and nothing else: one lookup each.
std::vector<uint8_t> vendorIds(size_t count, uint64_t guid) {
    RomLayout rom(guid);
    rom.directory(std::vector<RomLayout::Item>(count, RomLayout::immediate(0x03, 0x00A027)));
    return rom.image();
}

TEST_F(EnumerationTest, EveryRomOfUpTo64VendorIdsIsReadWhole) {
    const uint64_t most = 0x20, past = 0x21;
    ASSERT_EQ(lib1394::ConfigROMContext::DefaultLookupBudget, 64u);
    bus->addPort();
    bus->addNode(0, vendorIds(64, most), most);
    bus->addNode(0, vendorIds(65, past), past);
    lib1394::ConfigROMContext::clearExhaustedNodes();
    zul::LogFactory::setPriority(zul::LOG_FAILURE);

    zul::Array<lib1394_enum_log> out;
    EXPECT_TRUE(Lib1394SysInfo::enumerateAll(out));
    const auto& exhausted = lib1394::ConfigROMContext::exhaustedNodes();
    ASSERT_EQ(exhausted.size(), 1u);
    EXPECT_EQ(exhausted[0].nodeId, 0xFFC1u);
    EXPECT_EQ(exhausted[0].spent, lib1394::Budget::Lookups);
    // The root directory's device and one per vendor id; past the budget, the id whose lookup
    // is refused is still made, and publishes.
    EXPECT_EQ(entryDevicesOf(most), 65u);
    EXPECT_EQ(entryDevicesOf(past), 66u);
    lib1394::ConfigROMContext::clearExhaustedNodes();
}

TEST_F(EnumerationTest, TheEntryBudgetIsExactlyTheEntriesANodeMayMake) {
    const uint64_t guid = 0x11;
    for (uint64_t budget : {15u, 14u}) {
        vesk5::SysInfoModule::reset();
        bus = std::make_shared<lib1394::MemoryBus>();
        lib1394::ConfigROMContext::installBus(bus);
        bus->addPort();
        bus->addNode(0, sharedDescriptor(guid).image(), guid);
        lib1394::ConfigROMContext::clearExhaustedNodes();
        lib1394::ConfigROMContext::setEntryBudget(budget);
        zul::Array<lib1394_enum_log> out;
        EXPECT_TRUE(Lib1394SysInfo::enumerateAll(out));
        EXPECT_EQ(lib1394::ConfigROMContext::exhaustedNodes().size(), budget == 15 ? 0u : 1u)
            << budget;
        EXPECT_EQ(entryDevicesOf(guid), budget == 15 ? 15u : 14u) << budget;
    }
    lib1394::ConfigROMContext::setEntryBudget(lib1394::ConfigROMContext::DefaultEntryBudget);
    lib1394::ConfigROMContext::clearExhaustedNodes();
}

TEST_F(EnumerationTest, NoPortsOrNoPortList) {
    zul::Array<lib1394_enum_log> out;
    EXPECT_FALSE(Lib1394SysInfo::enumerateAll(out));
    EXPECT_TRUE(lines.empty());
    bus->failPortList(true);
    EXPECT_FALSE(Lib1394SysInfo::enumerateAll(out));
    EXPECT_EQ(lines.size(), 1u);
    EXPECT_TRUE(logged("unable to retrieve port info for 1394"));
    EXPECT_TRUE(out.isEmpty());
    EXPECT_TRUE(vesk5::SysInfoModule::publishedDevices().empty());
}

} // namespace
