// A bus whose every node reads without a fault is clean, whatever the source and whatever it
// notes of its cards; a node the bus knows of and did not read is not.
#include "inspect/model/Inspection.h"
#include "lib1394/ImageFile.h"
#include "lib1394/LiveBus.h"
#include "lib1394/SysfsBus.h"
#include "rombus_support/FwKernel.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace {

using rombus_test::FwKernel;

constexpr uint64_t LocalGuid = 0x0030E000000000A0ull, DiskGuid = 0x0030E000000000A1ull;

rombus::Inspection inspectBus(std::shared_ptr<lib1394::RomImageBus> bus) {
    rombus::Settings settings;
    settings.logLevel = 9;
    return rombus::inspect(std::move(bus), settings);
}

FwKernel::Node liveNode(unsigned phyId, uint64_t guid, bool local) {
    FwKernel::Node node;
    node.phyId = phyId;
    node.local = local;
    node.rom = rombus_bench::typicalRom(guid);
    node.kernelRom = node.rom;
    return node;
}

TEST(CleanBus, SysfsAndImageBusesOfHealthyNodesAreClean) {
    const rombus_test::TestFolder folder;
    const rombus_test::SysfsTree tree(folder.path() / "sys");
    tree.addNode("pci0000:00/fw0", "fw0", rombus_bench::typicalRom(LocalGuid), LocalGuid);
    tree.addNode("pci0000:00/fw0", "fw1", rombus_bench::typicalRom(DiskGuid), DiskGuid);
    const rombus::Inspection sysfs =
        inspectBus(std::make_shared<lib1394::SysfsBus>(tree.root().string()));
    ASSERT_EQ(sysfs.nodes.size(), 2u);
    EXPECT_EQ(sysfs.skippedNodes, 0u);
    EXPECT_TRUE(rombus::isClean(sysfs));

    // A link that leads nowhere is a node the bus did not read.
    std::filesystem::create_directory_symlink("../../../devices/gone/fw2",
                                              tree.root() / "bus/firewire/devices/fw2");
    const rombus::Inspection skipped =
        inspectBus(std::make_shared<lib1394::SysfsBus>(tree.root().string()));
    EXPECT_EQ(skipped.skippedNodes, 1u);
    ASSERT_EQ(skipped.notes.size(), 1u);
    EXPECT_TRUE(rombus::hasProblems(skipped));

    lib1394::ImageFile image{"disk.rom", rombus_bench::typicalRom(DiskGuid), ""};
    const rombus::Inspection images =
        inspectBus(std::make_shared<lib1394::ImageFileBus>(std::vector{image, image}));
    EXPECT_TRUE(rombus::isClean(images));
}

TEST(CleanBus, ALiveBusOfHealthyNodesIsCleanBesideTheNotesOfItsCard) {
    rombus_test::TestFolder folder;
    FwKernel kernel(folder.path());
    kernel.add("fw0", liveNode(0, LocalGuid, true));
    kernel.add("fw1", liveNode(1, DiskGuid, false));
    const rombus::Inspection live = inspectBus(std::make_shared<lib1394::LiveBus>(kernel.setup()));
    ASSERT_EQ(live.nodes.size(), 2u);
    // The card's generation and its topology map are told, and fail nothing.
    EXPECT_EQ(live.notes.size(), 2u);
    EXPECT_EQ(live.skippedNodes, 0u);
    EXPECT_TRUE(rombus::isClean(live));
    EXPECT_FALSE(rombus::hasProblems(live));

    // A node of the topology map that has no device file was not read.
    kernel.addWithoutFile(liveNode(2, 0, false));
    const rombus::Inspection hidden =
        inspectBus(std::make_shared<lib1394::LiveBus>(kernel.setup()));
    EXPECT_EQ(hidden.skippedNodes, 1u);
    EXPECT_TRUE(rombus::hasProblems(hidden));
}

TEST(CleanBus, ANodeThatCannotBeOpenedStaysOnAPortOfItsOwnNamedByItsFile) {
    rombus_test::TestFolder folder;
    FwKernel kernel(folder.path());
    kernel.add("fw0", liveNode(0, LocalGuid, true));
    kernel.add("fw1", liveNode(1, DiskGuid, false)).openError = EACCES;
    kernel.add("fw2", liveNode(2, DiskGuid + 1, false)).openError = EPERM;
    const rombus::Inspection live = inspectBus(std::make_shared<lib1394::LiveBus>(kernel.setup()));
    const std::string fw1 = (folder.path() / "fw1").string(),
                      fw2 = (folder.path() / "fw2").string();
    ASSERT_EQ(live.portTexts, (std::vector<std::string>{"card 0", fw1, fw2}));
    ASSERT_EQ(live.nodes.size(), 3u);
    for (size_t i = 1; i < 3; ++i) {
        const rombus::NodeView& denied = live.nodes[i];
        EXPECT_EQ(denied.port, i);
        EXPECT_EQ(denied.physicalId, 0u);
        EXPECT_EQ(denied.source->label, i == 1 ? fw1 : fw2);
        EXPECT_EQ(denied.status(), rombus::NodeStatus::NotAccessible);
    }
    EXPECT_EQ(live.nodes[0].status(), rombus::NodeStatus::Ok);
    EXPECT_TRUE(rombus::hasProblems(live));
}

} // namespace
