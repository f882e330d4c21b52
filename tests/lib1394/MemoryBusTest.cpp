#include "lib1394/MemoryBus.h"

#include <gtest/gtest.h>

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

// Installs a fresh bus for each test and removes it afterwards, checking no accessor outlives it.
class MemoryBusTest : public testing::Test {
protected:
    void SetUp() override {
        liveAtStart_ = lib1394::ConfigROMAccessor::liveCount();
        ConfigROMContext::installBus(bus_);
    }
    void TearDown() override {
        ConfigROMContext::installBus(nullptr);
        EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), liveAtStart_);
    }

    static AccessorHandle node(unsigned port, unsigned n) {
        return ConfigROMContext::getConfigROMAccessor(port, 0xFFC0 | n, true);
    }

    std::shared_ptr<MemoryBus> bus_ = std::make_shared<MemoryBus>();

private:
    size_t liveAtStart_ = 0;
};

TEST(KeyValueTest, EntryIsOneQuadletInRomOrder) {
    const uint8_t quadlet[4] = {0x03, 0x00, 0x50, 0xC2};
    lib1394::cr_key_value_t entry;
    static_assert(sizeof entry == sizeof quadlet);
    std::memcpy(&entry, quadlet, sizeof entry);
    EXPECT_EQ(entry.key, 0x03);
    EXPECT_EQ((entry.value[0] << 16) | (entry.value[1] << 8) | entry.value[2], 0x0050C2);
}

TEST_F(MemoryBusTest, ReadsStopAtTheEndOfTheImage) {
    bus_->addPort();
    bus_->addNode(0, counting(64), 0x0123456789ABCDEFull);
    AccessorHandle rom = node(0, 0);
    ASSERT_TRUE(rom->isAccessible());
    EXPECT_EQ(rom->getGuid(), 0x0123456789ABCDEFull);
    EXPECT_EQ(rom->getPort(), 0u);

    std::vector<uint8_t> buffer(64, 0xEE);
    EXPECT_EQ(rom->readBlock(8, 4, buffer.data()), 4u);
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + 5),
              (std::vector<uint8_t>{8, 9, 10, 11, 0xEE}));

    buffer.assign(64, 0xEE);
    EXPECT_EQ(rom->readBlock(60, 16, buffer.data()), 4u);
    EXPECT_EQ(buffer[3], 63);
    EXPECT_EQ(buffer[4], 0xEE) << "nothing past the end is written";
    EXPECT_EQ(rom->readBlock(64, 4, buffer.data()), 0u);
    EXPECT_EQ(rom->readBlock(0xFFFFFFF0u, 0x20, buffer.data()), 0u);
    EXPECT_EQ(rom->readBlock(4, 0xFFFFFFFFu, buffer.data()), 60u) << "no 32-bit wrap";

    EXPECT_TRUE(rom->readStructure(60, buffer.data(), 4));
    EXPECT_FALSE(rom->readStructure(60, buffer.data(), 8));

    bus_->addNode(0, counting(1500));
    std::vector<uint8_t> whole(1500);
    EXPECT_EQ(node(0, 1)->readBlock(0, 1500, whole.data()), lib1394::MaxRomSize);
    EXPECT_EQ(node(0, 1)->readBlock(lib1394::MaxRomSize, 4, whole.data()), 0u);
}

TEST_F(MemoryBusTest, FaultsAndInaccessibleNodes) {
    bus_->addPort();
    bus_->addNode(0, counting(1500)).failReadAt = 1100; // beyond what a node can show
    lib1394::MemoryNode& failing = bus_->addNode(0, counting(64));
    failing.failReadAt = 20;
    failing.shortReadAt = 8;
    failing.shortCount = 2;
    bus_->addNode(0, counting(64)).accessible = false;

    uint8_t buffer[64] = {};
    EXPECT_EQ(node(0, 0)->readBlock(1020, 100, buffer), 4u);

    AccessorHandle rom = node(0, 1);
    EXPECT_EQ(rom->readBlock(16, 8, buffer), 0u);
    EXPECT_EQ(rom->readBlock(20, 1, buffer), 0u);
    EXPECT_EQ(rom->readBlock(12, 8, buffer), 8u) << "ends just before the failing byte";
    EXPECT_EQ(rom->readBlock(8, 4, buffer), 2u);
    EXPECT_EQ(rom->readBlock(4, 8, buffer), 8u) << "only a read starting there is short";
    EXPECT_FALSE(rom->readStructure(8, buffer, 4));

    AccessorHandle closed = node(0, 2);
    EXPECT_FALSE(closed->isAccessible());
    EXPECT_EQ(closed->readBlock(0, 4, buffer), 0u);
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
    ASSERT_TRUE(ConfigROMContext::getConfigROMAccessor(ConfigROMContext::AllPorts, 0, true)
                    ->getPortInfo(ports));
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].nodeCount, 3u);
    ASSERT_EQ(ports[0].nodeGuids.size(), 1u);
    EXPECT_EQ(ports[0].nodeGuids[0], 0xA0u);
    EXPECT_EQ(ports[1].nodeCount, 5u);
    ASSERT_EQ(ports[1].nodeGuids.size(), 1u);
    EXPECT_EQ(ports[1].nodeGuids[0], 0xB0u);

    AccessorHandle second = node(1, 0);
    EXPECT_EQ(second->getPort(), 1u);
    EXPECT_EQ(second->getGuid(), 0xB0u);
    EXPECT_EQ(node(0, 2)->getGuid(), 0xA2u);

    EXPECT_FALSE(node(0, 3)->isAccessible());
    EXPECT_FALSE(node(1, 1)->isAccessible()) << "a counted node the bus does not hold";
    EXPECT_FALSE(node(2, 0)->isAccessible());
    EXPECT_EQ(node(2, 0)->getPort(), 2u);

    bus_->failPortList(true);
    zul::Array<lib1394::port_info_t> none;
    EXPECT_FALSE(ConfigROMContext::getConfigROMAccessor(ConfigROMContext::AllPorts, 0, true)
                     ->getPortInfo(none));
    EXPECT_TRUE(none.isEmpty());
}

TEST(ConfigROMContextTest, WithoutABusNothingIsRead) {
    ConfigROMContext::installBus(nullptr);
    size_t live = lib1394::ConfigROMAccessor::liveCount();
    {
        AccessorHandle rom = ConfigROMContext::getConfigROMAccessor(0, 0xFFC0, true);
        EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), live + 1);
        EXPECT_FALSE(rom->isAccessible());
        uint8_t buffer[4];
        EXPECT_FALSE(rom->readStructure(0, buffer, 4));
        zul::Array<lib1394::port_info_t> ports;
        EXPECT_FALSE(ConfigROMContext::getConfigROMAccessor(ConfigROMContext::AllPorts, 0, true)
                         ->getPortInfo(ports));
    }
    EXPECT_EQ(lib1394::ConfigROMAccessor::liveCount(), live);
}

} // namespace

TEST(ConfigROMContextTest, EveryAccessorHasItsOwnReadBudget) {
    auto bus = std::make_shared<lib1394::MemoryBus>();
    bus->addPort();
    bus->addNode(0, std::vector<uint8_t>(64, 0xAB), 7);
    ConfigROMContext::installBus(bus);
    ConfigROMContext::clearExhaustedNodes();
    ConfigROMContext::setReadBudget(3);
    uint8_t buffer[4];
    AccessorHandle rom = ConfigROMContext::getConfigROMAccessor(0, 0xFFC0, true);
    EXPECT_EQ(rom->getGuid(), 7u);
    for (int read = 0; read < 3; ++read)
        EXPECT_TRUE(rom->readStructure(4 * read, buffer, 4));
    EXPECT_TRUE(ConfigROMContext::exhaustedNodes().empty());
    EXPECT_EQ(rom->readBlock(0, 4, buffer), 0u);
    EXPECT_FALSE(rom->readStructure(0, buffer, 4));
    ASSERT_EQ(ConfigROMContext::exhaustedNodes().size(), 1u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].port, 0u);
    EXPECT_EQ(ConfigROMContext::exhaustedNodes()[0].nodeId, 0xFFC0u);

    AccessorHandle fresh = ConfigROMContext::getConfigROMAccessor(0, 0xFFC0, true);
    EXPECT_TRUE(fresh->readStructure(0, buffer, 4));
    ConfigROMContext::setReadBudget(ConfigROMContext::DefaultReadBudget);
    ConfigROMContext::clearExhaustedNodes();
    ConfigROMContext::installBus(nullptr);
}
