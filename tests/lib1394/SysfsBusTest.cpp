#include "lib1394/SysfsBus.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

// Builds a sysfs-shaped tree in a temporary folder, removed with the object.
class SysfsTree {
public:
    // One folder per test: CTest runs the tests of this program side by side.
    SysfsTree()
        : root_(fs::temp_directory_path() /
                ("rombus-sysfs-" +
                 std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        fs::remove_all(root_);
        fs::create_directories(root_ / "bus/firewire/devices");
    }
    ~SysfsTree() { fs::remove_all(root_); }

    // A node fwN (or unit fwN.M) below a controller folder, its link, and its files.
    fs::path add(const std::string& controller, const std::string& name,
                 const std::string& configRom, const std::string& guid) {
        const fs::path folder = root_ / "devices" / controller / name;
        fs::create_directories(folder);
        std::ofstream(folder / "config_rom", std::ios::binary) << configRom;
        if (!guid.empty())
            std::ofstream(folder / "guid") << guid << "\n";
        fs::create_directory_symlink(fs::path("../../../devices") / controller / name,
                                     root_ / "bus/firewire/devices" / name);
        return folder;
    }

    std::string root() const { return root_.string(); }

private:
    fs::path root_;
};

// Quadlets as a little-endian machine's config_rom holds them.
std::string hostQuadlets(std::initializer_list<uint32_t> quadlets) {
    std::string bytes;
    for (uint32_t q : quadlets)
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(q >> shift);
    return bytes;
}

TEST(SysfsBus, PortsFollowControllersAndTheirLowestNodeNumber) {
    SysfsTree tree;
    // Controller "b" holds fw1 and so comes first, although "a" sorts before it by name.
    tree.add("pci/a", "fw10", hostQuadlets({0x04041234, 0x31333934}), "0x0000000000000010");
    tree.add("pci/a", "fw9", hostQuadlets({0x04041234}), "0x0000000000000009");
    tree.add("pci/b", "fw1", hostQuadlets({0x04041234}), "0x0001020304050607");
    tree.add("pci/a", "fw2", hostQuadlets({0x04041234}), "0x2");
    tree.add("pci/b/fw1", "fw1.0", "", ""); // a unit device, not a node
    fs::create_directories(fs::path(tree.root()) / "bus/firewire/devices/firewire0");

    const auto ports = lib1394::SysfsBus::readPorts(tree.root(), lib1394::ByteOrder::Little);
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].text, "devices/pci/b");
    ASSERT_EQ(ports[0].nodes.size(), 1u);
    EXPECT_EQ(ports[0].nodes[0].label, "fw1");
    EXPECT_EQ(ports[0].nodes[0].guid, 0x0001020304050607ull);
    ASSERT_EQ(ports[1].nodes.size(), 3u);
    EXPECT_EQ(ports[1].nodes[0].label, "fw2");
    EXPECT_EQ(ports[1].nodes[1].label, "fw9");
    EXPECT_EQ(ports[1].nodes[2].label, "fw10");
    EXPECT_EQ(ports[1].nodes[0].guid, 2u);
    // Every quadlet is turned into bus order.
    const std::vector<uint8_t> expected = {0x04, 0x04, 0x12, 0x34, '1', '3', '9', '4'};
    EXPECT_EQ(ports[1].nodes[2].rom, expected);
}

TEST(SysfsBus, NodesWithoutAReadableRomAreNotAccessible) {
    SysfsTree tree;
    tree.add("pci/a", "fw0", "", "0x0000000000000001");       // empty config_rom
    tree.add("pci/a", "fw1", "\x01\x02\x03", "not a number"); // less than a quadlet
    const fs::path folder = tree.add("pci/a", "fw2", hostQuadlets({1}), "");
    fs::remove(folder / "config_rom");
    tree.add("pci/a", "fw3", hostQuadlets({0x04041234}) + "\xAA", "");

    lib1394::SysfsBus bus(tree.root(), lib1394::ByteOrder::Big);
    const auto& nodes = bus.ports().at(0).nodes;
    ASSERT_EQ(nodes.size(), 4u);
    EXPECT_FALSE(nodes[0].accessible);
    EXPECT_EQ(nodes[0].guid, 1u);
    EXPECT_FALSE(nodes[1].accessible);
    EXPECT_EQ(nodes[1].guid, 0u);
    EXPECT_FALSE(nodes[2].accessible);
    // Named big-endian: bytes as stored; the part of a quadlet at the end is dropped.
    EXPECT_EQ(nodes[3].rom, (std::vector<uint8_t>{0x34, 0x12, 0x04, 0x04}));

    std::unique_ptr<lib1394::ConfigROMAccessor> node(bus.createAccessor(0, 0xFFC0));
    EXPECT_FALSE(node->isAccessible());
    uint8_t buffer[4];
    EXPECT_EQ(node->readBlock(0, 4, buffer), 0u);
    std::unique_ptr<lib1394::ConfigROMAccessor> last(bus.createAccessor(0, 0xFFC3));
    EXPECT_EQ(last->readBlock(0, 8, buffer), 4u);
}

TEST(SysfsBus, ARootWithoutFireWireHasNoPort) {
    const auto ports =
        lib1394::SysfsBus::readPorts("/nonexistent-rombus-root", lib1394::ByteOrder::Detect);
    EXPECT_TRUE(ports.empty());
    lib1394::SysfsBus bus("/nonexistent-rombus-root");
    std::unique_ptr<lib1394::ConfigROMAccessor> list(
        bus.createAccessor(lib1394::ConfigROMContext::AllPorts, 0));
    zul::Array<lib1394::port_info_t> info;
    EXPECT_TRUE(list->getPortInfo(info));
    EXPECT_EQ(info.size(), 0u);
}

TEST(SysfsBus, TheBundledSampleHasTwoPortsOfFourNodes) {
    const auto ports = lib1394::SysfsBus::readPorts(ROMBUS_SOURCE_DIR "/examples/sysfs",
                                                    lib1394::ByteOrder::Little);
    ASSERT_EQ(ports.size(), 2u);
    ASSERT_EQ(ports[0].nodes.size(), 4u);
    ASSERT_EQ(ports[1].nodes.size(), 4u);
    EXPECT_EQ(ports[1].nodes[0].label, "fw4");
    for (const auto& port : ports) {
        for (const auto& node : port.nodes) {
            if (node.accessible) {
                EXPECT_EQ(lib1394::guidOfRom(node.rom), node.guid) << node.label;
            }
        }
    }
    EXPECT_FALSE(ports[1].nodes[3].accessible);
}

} // namespace
