#include "lib1394/MemoryBus.h"
#include "vesk5/SysInfoModule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

namespace {

using lib1394::AccessorHandle;
using lib1394::ConfigROMContext;
using lib1394::MemoryBus;

// Bytes 0, 1, 2, ... (mod 256), so that every read shows where it came from.
std::vector<uint8_t> counting(size_t size) {
    std::vector<uint8_t> image(size);
    std::iota(image.begin(), image.end(), uint8_t{0});
    return image;
}

// The number of bytes a read gives; a read never gives more than a ROM holds.
unsigned bytesRead(const AccessorHandle& rom, unsigned offset, unsigned length) {
    std::vector<uint8_t> buffer(std::min(length, 2 * lib1394::MaxRomSize));
    return rom->readBlock(offset, length, buffer.data());
}

AccessorHandle node(unsigned port, unsigned n) {
    return ConfigROMContext::getConfigROMAccessor(port, 0xFFC0 | n, true);
}

bool portList(zul::Array<lib1394::port_info_t>& ports) {
    return ConfigROMContext::getConfigROMAccessor(ConfigROMContext::AllPorts, 0, true)
        ->getPortInfo(ports);
}

// Installs a fresh bus for each test and removes it afterwards, checking no accessor outlives it.
class MemoryBusTest : public testing::Test {
protected:
    void SetUp() override { ConfigROMContext::installBus(bus_); }
    void TearDown() override {
        ConfigROMContext::installBus(nullptr);
        EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), liveAtStart_);
    }

    std::shared_ptr<MemoryBus> bus_ = std::make_shared<MemoryBus>();

private:
    size_t liveAtStart_ = lib1394::ConfigROMAccessor::liveCount();
};

TEST(KeyValueTest, EntryIsOneQuadletInRomOrder) {
    const uint8_t quadlet[4] = {0x03, 0x00, 0x50, 0xC2};
    lib1394::cr_key_value_t entry;
    static_assert(sizeof entry == sizeof quadlet);
    std::memcpy(&entry, quadlet, sizeof entry);
    EXPECT_EQ(entry.key, 0x03);
    EXPECT_EQ((entry.value[0] << 16) | (entry.value[1] << 8) | entry.value[2], 0x0050C2);
}

TEST_F(MemoryBusTest, ReadsStopAtTheEndOfTheImageAndAtFaults) {
    bus_->addPort();
    bus_->addNode(0, counting(64));
    bus_->addNode(0, counting(1500)).failReadAt = 1100; // beyond what a node can show
    lib1394::MemoryNode& failing = bus_->addNode(0, counting(64));
    failing.failReadAt = 20;
    failing.shortReadAt = 8;
    failing.shortCount = 2;
    bus_->addNode(0, counting(64)).accessible = false;

    AccessorHandle rom = node(0, 0);
    std::vector<uint8_t> buffer(64, 0xEE);
    EXPECT_EQ(rom->readBlock(60, 16, buffer.data()), 4u);
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + 5),
              (std::vector<uint8_t>{60, 61, 62, 63, 0xEE}))
        << "nothing past the end is written";
    EXPECT_EQ(bytesRead(rom, 64, 4), 0u);
    EXPECT_EQ(bytesRead(rom, 0xFFFFFFF0u, 0x20), 0u);
    EXPECT_EQ(bytesRead(rom, 4, 0xFFFFFFFFu), 60u) << "no 32-bit wrap";
    EXPECT_TRUE(rom->readStructure(60, buffer.data(), 4));
    EXPECT_FALSE(rom->readStructure(60, buffer.data(), 8));
    EXPECT_TRUE(rom->readStructure(8, nullptr, 0)) << "an empty block needs no storage";

    EXPECT_EQ(bytesRead(node(0, 1), 0, 1500), lib1394::MaxRomSize);
    EXPECT_EQ(bytesRead(node(0, 1), lib1394::MaxRomSize, 4), 0u);
    EXPECT_EQ(bytesRead(node(0, 1), 1020, 100), 4u);

    AccessorHandle faulty = node(0, 2);
    EXPECT_EQ(bytesRead(faulty, 16, 8), 0u);
    EXPECT_EQ(bytesRead(faulty, 12, 8), 8u) << "ends just before the failing byte";
    EXPECT_EQ(bytesRead(faulty, 8, 4), 2u);
    EXPECT_EQ(bytesRead(faulty, 4, 8), 8u) << "only a read starting there is short";

    EXPECT_FALSE(node(0, 3)->isAccessible());
    EXPECT_EQ(bytesRead(node(0, 3), 0, 4), 0u);
}

TEST_F(MemoryBusTest, PortListAndNodeLookup) {
    bus_->addPort();
    bus_->addNode(0, counting(16), 0xA0);
    bus_->addNode(0, counting(16), 0xA1);
    bus_->addNode(0, counting(16), 0xA2);
    bus_->port(0).guidsListed = 1;
    bus_->addPort().nodeCount = 5;
    bus_->addNode(1, counting(16), 0xB0);

    zul::Array<lib1394::port_info_t> ports;
    ASSERT_TRUE(portList(ports));
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].nodeCount, 3u);
    ASSERT_EQ(ports[0].nodeGuids.size(), 1u);
    EXPECT_EQ(ports[0].nodeGuids[0], 0xA0u);
    EXPECT_EQ(ports[1].nodeCount, 5u);
    EXPECT_EQ(ports[1].nodeGuids.size(), 1u);

    EXPECT_EQ(node(1, 0)->getPort(), 1u);
    EXPECT_EQ(node(1, 0)->getGuid(), 0xB0u);
    EXPECT_FALSE(node(0, 3)->isAccessible());
    EXPECT_FALSE(node(1, 1)->isAccessible()) << "a counted node the bus does not hold";

    bus_->failPortList(true);
    zul::Array<lib1394::port_info_t> none;
    EXPECT_FALSE(portList(none));
    EXPECT_TRUE(none.isEmpty());
}

TEST(ConfigROMContextTest, WithoutABusNothingIsRead) {
    ConfigROMContext::installBus(nullptr);
    size_t live = lib1394::ConfigROMAccessor::liveCount();
    {
        AccessorHandle rom = node(0, 0);
        EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), live + 1);
        EXPECT_FALSE(rom->isAccessible());
        uint8_t buffer[4];
        EXPECT_FALSE(rom->readStructure(0, buffer, 4));
        zul::Array<lib1394::port_info_t> ports;
        EXPECT_FALSE(portList(ports));
    }
    EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), live);
}

TEST_F(MemoryBusTest, EveryAccessorHasItsOwnBudgetOfReadsAndEntries) {
    bus_->addPort();
    bus_->addNode(0, counting(64), 7);
    bus_->addNode(0, counting(64), 8);
    ConfigROMContext::clearExhaustedNodes();
    ConfigROMContext::setReadBudget(3);
    ConfigROMContext::setEntryBudget(2);
    uint8_t buffer[4];

    // Reads: three go through, every one after fails, and the node is noted once.
    AccessorHandle reads = node(0, 0);
    for (int read = 0; read < 3; ++read)
        EXPECT_TRUE(reads->readStructure(4 * read, buffer, 4));
    EXPECT_TRUE(ConfigROMContext::exhaustedNodes().empty());
    EXPECT_EQ(reads->readBlock(0, 4, buffer), 0u);
    EXPECT_FALSE(reads->readStructure(0, buffer, 4));
    ASSERT_EQ(ConfigROMContext::exhaustedNodes().size(), 1u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].nodeId, 0xFFC0u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].spent, lib1394::Budget::Reads);
    EXPECT_TRUE(node(0, 0)->readStructure(0, buffer, 4));
    ConfigROMContext::clearExhaustedNodes();

    // Entries: every entry asking for the GUID is charged to the node's accessor, shared or not.
    AccessorHandle rom = node(0, 0);
    AccessorHandle shared = rom;
    EXPECT_EQ(rom->getGuid(), 7u);
    EXPECT_EQ(shared->getGuid(), 7u);
    // Exactly the budget spent: reads still go through.
    EXPECT_TRUE(rom->readStructure(0, buffer, 4));
    EXPECT_TRUE(ConfigROMContext::exhaustedNodes().empty());
    // One entry more: the GUID is still told, every read fails from now on, noted once.
    EXPECT_EQ(shared->getGuid(), 7u);
    EXPECT_EQ(rom->readBlock(0, 4, buffer), 0u);
    EXPECT_EQ(rom->getGuid(), 7u);
    ASSERT_EQ(ConfigROMContext::exhaustedNodes().size(), 1u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].nodeId, 0xFFC0u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].spent, lib1394::Budget::Entries);
    // Its entries publish nothing more, until another accessor is handed out; the other node,
    // and the same node read anew, have budgets of their own.
    EXPECT_EQ(vesk5::SysInfoModule::refusedClass(), &vesk5::DeviceCapability::Firmware());
    AccessorHandle other = node(0, 1);
    EXPECT_EQ(vesk5::SysInfoModule::refusedClass(), nullptr);
    EXPECT_EQ(other->getGuid(), 8u);
    EXPECT_TRUE(other->readStructure(0, buffer, 4));
    EXPECT_TRUE(node(0, 0)->readStructure(0, buffer, 4));
    EXPECT_EQ(ConfigROMContext::exhaustedNodes().size(), 1u);
    ConfigROMContext::setReadBudget(ConfigROMContext::DefaultReadBudget);
    ConfigROMContext::setEntryBudget(ConfigROMContext::DefaultEntryBudget);
    ConfigROMContext::clearExhaustedNodes();
}

} // namespace
