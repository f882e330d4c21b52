#include "lib1394/SysfsBus.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TestFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

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

// One quadlet of hostQuadlets as read back when config_rom is named big-endian: as stored.
std::vector<uint8_t> hostBytes(uint32_t quadlet) {
    const std::string bytes = hostQuadlets({quadlet});
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
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

    const auto ports =
        lib1394::SysfsBus::read(tree.root.string(), lib1394::ByteOrder::Little).ports;
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
    // No guid file, and one that cannot be read: the GUID the ROM holds (in bus order, read
    // big-endian as stored).
    const std::string withGuid("\x04\x04\x12\x34"
                               "1394"
                               "\xE0\x64\x80\x02\x00\x30\xE0\x00\x00\x00\x00\x42",
                               20);
    tree.add("pci/a", "fw4", withGuid, "");
    const fs::path fifo = tree.add("pci/a", "fw5", withGuid, "");
    ASSERT_EQ(mkfifo((fifo / "guid").c_str(), 0600), 0);

    const auto ports = lib1394::SysfsBus::read(tree.root.string(), lib1394::ByteOrder::Big).ports;
    const auto& nodes = ports.at(0).nodes;
    ASSERT_EQ(nodes.size(), 6u);
    EXPECT_FALSE(nodes[0].accessible);
    EXPECT_EQ(nodes[0].guid, 1u);
    EXPECT_FALSE(nodes[1].accessible);
    EXPECT_EQ(nodes[1].guid, 0u);
    EXPECT_FALSE(nodes[2].accessible);
    EXPECT_EQ(nodes[4].guid, 0x0030E00000000042ull);
    EXPECT_EQ(nodes[5].guid, 0x0030E00000000042ull);
    // Named big-endian: bytes as stored; the part of a quadlet at the end is dropped.
    EXPECT_EQ(nodes[3].rom, (std::vector<uint8_t>{0x34, 0x12, 0x04, 0x04}));
}

TEST(SysfsBus, NamesStayAsTheyAreAndAPortHoldsAtMost63Nodes) {
    SysfsTree tree;
    // 65 nodes on one controller, numbered 0 to 63 and then one past 32 bits.
    for (unsigned n = 0; n < 64; ++n)
        tree.add("pci/a", "fw" + std::to_string(n), hostQuadlets({n}), "");
    tree.add("pci/a", "fw4294967296", hostQuadlets({0xBAD}), "");
    const auto view = lib1394::SysfsBus::read(tree.root.string(), lib1394::ByteOrder::Big);
    ASSERT_EQ(view.ports.size(), 1u);
    const auto& nodes = view.ports[0].nodes;
    ASSERT_EQ(nodes.size(), 63u);
    EXPECT_EQ(nodes[62].label, "fw62");
    EXPECT_EQ(nodes[62].rom, hostBytes(62));
    ASSERT_EQ(view.notes.size(), 2u);
    EXPECT_EQ(
        view.notes[0].rfind("fw63: not read; port 0 (devices/pci/a) already holds 63 nodes", 0),
        0u);
    EXPECT_EQ(view.notes[1].rfind("fw4294967296: not read", 0), 0u);
}

TEST(SysfsBus, WhatIsNotARegularFileOrAFolderIsNotedNeverRead) {
    SysfsTree tree;
    const fs::path fifoRom = tree.add("pci/a", "fw0", "", "0x1");
    fs::remove(fifoRom / "config_rom");
    ASSERT_EQ(mkfifo((fifoRom / "config_rom").c_str(), 0600), 0);
    const fs::path fifoGuid = tree.add("pci/a", "fw1", hostQuadlets({0x04041234}), "");
    ASSERT_EQ(mkfifo((fifoGuid / "guid").c_str(), 0600), 0);
    tree.add("pci/a", "fw2", std::string(1028, '\x11'), "0x2");
    const fs::path links = tree.root / "bus/firewire/devices";
    fs::create_directory_symlink("../../../devices/pci/gone", links / "fw3");
    std::ofstream(links / "fw4") << "a plain file\n";

    const auto view = lib1394::SysfsBus::read(tree.root.string(), lib1394::ByteOrder::Big);
    ASSERT_EQ(view.ports.size(), 1u);
    const auto& nodes = view.ports[0].nodes;
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_FALSE(nodes[0].accessible);
    EXPECT_EQ(nodes[0].notes, std::vector<std::string>{"config_rom is a FIFO, not a regular file"});
    EXPECT_TRUE(nodes[1].accessible);
    EXPECT_EQ(nodes[1].guid, 0u);
    EXPECT_EQ(nodes[1].notes, std::vector<std::string>{"guid is a FIFO, not a regular file"});
    EXPECT_EQ(nodes[2].rom.size(), lib1394::MaxRomSize);
    ASSERT_EQ(nodes[2].notes.size(), 1u);
    EXPECT_EQ(nodes[2].notes[0].rfind("config_rom holds more than 1024 bytes", 0), 0u);
    EXPECT_EQ(view.notes,
              (std::vector<std::string>{
                  "fw3: a link that leads to no device folder in bus/firewire/devices; skipped",
                  "fw4: not a link to a device folder in bus/firewire/devices; skipped"}));
}

} // namespace

namespace {

TEST(SysfsBus, UnitModaliasesAndTheLocalNodeAreReadAsTheKernelShowsThem) {
    SysfsTree tree;
    const fs::path local = tree.add("pci/a", "fw0", hostQuadlets({1}), "");
    tree.tree.write(local / "is_local", "1\n");
    // Units fw1.0 and fw1.2: fw1.1 is missing, so its place is empty; a unit without a modalias
    // file has an empty one; "fw1.x" is no unit.
    const fs::path node = tree.add("pci/a", "fw1", hostQuadlets({1}), "");
    tree.tree.write(node / "is_local", "0\n");
    for (const char* unit : {"fw1.0", "fw1.2", "fw1.x"})
        fs::create_directories(node / unit);
    tree.tree.write(node / "fw1.0" / "modalias",
                    "ieee1394:ven00ACDE48mo00000000sp0000609Ever00010483\n");
    tree.tree.write(node / "fw1.x" / "modalias", "not a unit\n");
    const fs::path other = tree.add("pci/a", "fw2", hostQuadlets({1}), "");
    tree.tree.write(other / "is_local", "10\n");

    const auto nodes =
        lib1394::SysfsBus::read(tree.root.string(), lib1394::ByteOrder::Big).ports.at(0).nodes;
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_TRUE(nodes[0].local);
    EXPECT_TRUE(nodes[0].unitModaliases.empty());
    EXPECT_FALSE(nodes[1].local);
    EXPECT_EQ(
        nodes[1].unitModaliases,
        (std::vector<std::string>{"ieee1394:ven00ACDE48mo00000000sp0000609Ever00010483", "", ""}));
    EXPECT_EQ(nodes[1].unitDrivers.size(), 3u);
    EXPECT_FALSE(nodes[2].local);
}

} // namespace
