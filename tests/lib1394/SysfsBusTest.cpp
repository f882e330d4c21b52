#include "lib1394/SysfsBus.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TestFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

// A sysfs-shaped tree in the test's own folder, removed with the object.
struct SysfsTree {
    rombus_test::TestFolder folder;
    const rombus_test::SysfsTree tree{folder.path()};
    const fs::path root = folder.path();

    // A node fwN (or unit fwN.M) below a controller folder, its link, and its files.
    fs::path add(const std::string& controller, const std::string& name,
                 const std::string& configRom, const std::string& guid) const {
        const fs::path device = tree.add(controller, name);
        tree.write(device / "config_rom", configRom);
        if (!guid.empty())
            tree.write(device / "guid", guid + "\n");
        return device;
    }
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
    fs::create_directories(tree.root / "bus/firewire/devices/firewire0");

    const auto ports = lib1394::SysfsBus::readPorts(tree.root.string(), lib1394::ByteOrder::Little);
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].text, "devices/pci/b");
    const auto labels = [](const lib1394::RomPort& port) {
        std::string text;
        for (const auto& node : port.nodes)
            text += node.label + " ";
        return text;
    };
    EXPECT_EQ(labels(ports[0]), "fw1 ");
    ASSERT_EQ(labels(ports[1]), "fw2 fw9 fw10 ");
    EXPECT_EQ(ports[0].nodes[0].guid, 0x0001020304050607ull);
    EXPECT_EQ(ports[1].nodes[0].guid, 2u);
    // Every quadlet is turned into bus order.
    EXPECT_EQ(ports[1].nodes[2].rom,
              (std::vector<uint8_t>{0x04, 0x04, 0x12, 0x34, '1', '3', '9', '4'}));
}

TEST(SysfsBus, NodesWithoutAReadableRomAreNotAccessible) {
    SysfsTree tree;
    tree.add("pci/a", "fw0", "", "0x0000000000000001");       // empty config_rom
    tree.add("pci/a", "fw1", "\x01\x02\x03", "not a number"); // less than a quadlet
    const fs::path folder = tree.add("pci/a", "fw2", hostQuadlets({1}), "");
    fs::remove(folder / "config_rom");
    tree.add("pci/a", "fw3", hostQuadlets({0x04041234}) + "\xAA", "");

    const auto ports = lib1394::SysfsBus::readPorts(tree.root.string(), lib1394::ByteOrder::Big);
    const auto& nodes = ports.at(0).nodes;
    ASSERT_EQ(nodes.size(), 4u);
    EXPECT_FALSE(nodes[0].accessible);
    EXPECT_EQ(nodes[0].guid, 1u);
    EXPECT_FALSE(nodes[1].accessible);
    EXPECT_EQ(nodes[1].guid, 0u);
    EXPECT_FALSE(nodes[2].accessible);
    // Named big-endian: bytes as stored; the part of a quadlet at the end is dropped.
    EXPECT_EQ(nodes[3].rom, (std::vector<uint8_t>{0x34, 0x12, 0x04, 0x04}));
}

} // namespace
