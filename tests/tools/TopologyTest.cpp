// The bus command's parts over a stand-in kernel, and the built program over saved buses.
#include "BusGraph.h"
#include "BusJson.h"
#include "BusText.h"
#include "JsonReport.h"
#include "ReportSchema.h"
#include "inspect/io/BusFile.h"
#include "lib1394/LiveBus.h"
#include "lib1394/PhyRegisters.h"
#include "rombus_support/BusShapes.h"
#include "rombus_support/FwKernel.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"
#include "rombus_support/TypicalRom.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace rombus {
namespace {

using rombus_test::FwKernel;
using rombus_test::Shape;
using testing::HasSubstr;

// Root PHY 3, the local node, with a repeater (PHY 1, S200, link off) on port 0 that leads to
// a disk (PHY 0), and on port 1 a node the kernel gave up on (PHY 2): no device file.
std::vector<PhySelfId> sampleBus() {
    Shape disk, repeater, lost, root;
    repeater.linkActive = false;
    repeater.contender = false;
    repeater.speed = 1;
    repeater.children = {disk};
    root.children = {repeater, lost};
    return rombus_test::selfIdsOf(root);
}

FwKernel::Node fileNode(unsigned phyId, uint64_t guid, bool local) {
    FwKernel::Node node;
    node.phyId = phyId;
    node.local = local;
    node.rom = node.kernelRom = rombus_bench::typicalRom(guid);
    return node;
}

struct Rig {
    rombus_test::TestFolder folder;
    FwKernel kernel{folder.path()};
    std::string registry = folder.write("registry.txt", "0030E0 OXFORD SEMICONDUCTOR LTD.\n"
                                                        "080028 Texas Instruments\n");

    Rig() {
        kernel.add("fw0", fileNode(3, 0x0030E00000000003, true));
        kernel.add("fw1", fileNode(0, 0x0030E00000000001, false));
        kernel.setTopology(0, encodeTopologyMap(7, sampleBus()));
        kernel.setPhyIds(0, 3, 0x080028, 0x831234);
        kernel.setPhyIds(0, 0, 0x0030E0, 0x000042);
    }

    BusView read() {
        const lib1394::LiveBus bus(kernel.setup());
        EXPECT_EQ(bus.buses().size(), 1u);
        return buildBusView(bus.buses().at(0), registry);
    }
};

TEST(Topology, LiveBusTreePathsAndPhyNames) {
    Rig rig;
    const BusView view = rig.read();
    ASSERT_TRUE(view.treeOk()) << view.treeTrouble;
    const std::string text = busText(view, 200);
    const std::string fw0 = (rig.folder.path() / "fw0").string();
    const std::string fw1 = (rig.folder.path() / "fw1").string();
    EXPECT_THAT(text, HasSubstr("Bus card 0: generation 7, 4 PHYs, 3 hops at most (gap count "
                                "optimum 8), topology map CRC "));
    EXPECT_THAT(text, HasSubstr("\n/:  PHY 3  " + fw0 +
                                "  0030e00000000003  \"Oxford "
                                "Semiconductor Ltd.\"  \"FireWire 800 Disk\"  S400  [root, IRM, "
                                "bus manager, local]\n"));
    EXPECT_THAT(text, HasSubstr("\n    |__ Port 0: PHY 1  link off  S200, path S200 over 1 hop\n"
                                "        |__ Port 0: PHY 0  " +
                                fw1));
    EXPECT_THAT(text, HasSubstr("S400, path S200 over 2 hops\n    |__ Port 1: PHY 2  no device "
                                "file  S400, path S400 over 1 hop\n"));
    EXPECT_THAT(text, HasSubstr("PHY 3: link on, gap count 63, S400, contender, no power; ports "
                                "0 child, 1 child, 2 not connected; PHY vendor 080028 \"Texas "
                                "Instruments\", product 831234\n"));
    EXPECT_THAT(text, HasSubstr("PHY 1: link off"));
    EXPECT_THAT(text, HasSubstr("PHY ids not read: no reply to a remote access packet within "
                                "100 ms: an IEEE 1394-1995 PHY"));
    EXPECT_THAT(text, HasSubstr("warning  PHY 2 has an active link but no device file"));
    EXPECT_THAT(text, HasSubstr("notice   the gap count 63 is larger than 8, the "
                                "optimum for the bus's 3 hops"));
    // Paged reads of page 1, register 2 first: 00 000000 00 0101 001 0000 010 00000000, the
    // second quadlet its complement; a PHY silent at its first register is asked no more.
    const auto& packets = rig.kernel.phyPackets();
    ASSERT_FALSE(packets.empty());
    EXPECT_EQ(packets[0].data[0], 0x00148200u);
    EXPECT_EQ(packets[0].data[1], ~0x00148200u);
    EXPECT_EQ(std::count_if(packets.begin(), packets.end(),
                            [](const auto& packet) { return packet.data[0] >> 24 == 1; }),
              1);
    EXPECT_EQ(packets.size(), 6u + 1 + 1 + 6);
}

TEST(Topology, JsonAndDotCarryTheSameBus) {
    Rig rig;
    const std::vector<BusView> views = {rig.read()};
    const nlohmann::ordered_json json = busJson(views);
    rombus_test::expectValidReport(rig.folder.write("bus.json", jsonText(json)),
                                   "rombus-bus.schema.json");
    const auto& bus = json["buses"][0];
    EXPECT_EQ(bus["root"], 3);
    EXPECT_EQ(bus["local"], 3);
    EXPECT_EQ(bus["maxHops"], 3);
    EXPECT_EQ(bus["optimumGapCount"], 8);
    EXPECT_EQ(bus["topologyMap"]["crcOk"], true);
    const auto& disk = bus["phys"][0];
    EXPECT_EQ(disk["parent"], 1);
    EXPECT_EQ(disk["pathSpeed"], "S200");
    EXPECT_EQ(disk["hops"], 2);
    EXPECT_EQ(disk["phyIds"]["vendorId"], "0030e0");
    EXPECT_EQ(disk["phyIds"]["vendorName"], "OXFORD SEMICONDUCTOR LTD.");
    EXPECT_EQ(bus["phys"][1]["ports"],
              nlohmann::ordered_json::parse(R"(["child","parent","not connected"])"));
    EXPECT_EQ(bus["phys"][3]["children"][1]["phyId"], 2);
    EXPECT_EQ(bus["health"].size(), 2u);
    const std::string dot = busDot(views);
    EXPECT_THAT(dot, HasSubstr("b0p3 -- b0p1 [label=\"port 0 - port 1\\npath S200\"];"));
    EXPECT_THAT(dot, HasSubstr("b0p1 -- b0p0 [label=\"port 0 - port 0\\npath S200\"];"));
    EXPECT_THAT(dot, HasSubstr("b0p1 [label=\"PHY 1\\nlink off\\nS200\", style=\"dashed,filled\""));
    // A saved bus reads back to the same report.
    const lib1394::LiveBus live(rig.kernel.setup());
    lib1394::BusCapture again;
    std::string error;
    ASSERT_TRUE(parseBusFile(formatBusFile(live.buses().at(0)), again, error)) << error;
    EXPECT_EQ(busText(buildBusView(again, rig.registry), 100), busText(views[0], 100));
}

TEST(Topology, BusResetWhilePhysAreAskedEndsTheAsking) {
    Rig rig;
    rig.kernel.resetAtPhyPacket = 2;
    const BusView view = rig.read();
    // The second packet went out in a generation that is gone: nothing more is sent, and no
    // PHY keeps ids half read.
    EXPECT_EQ(rig.kernel.phyPackets().size(), 2u);
    for (const BusPhy& phy : view.phys) {
        EXPECT_FALSE(phy.facts.identity.answered) << phy.self.phyId;
        EXPECT_EQ(phy.facts.identity.trouble, "a bus reset came while the PHYs were asked");
    }
}

TEST(Topology, DeepTreesStayWithinTheWidth) {
    lib1394::BusCapture capture;
    capture.name = "card 0";
    capture.topology = encodeTopologyMap(1, rombus_test::selfIdsOf(rombus_test::chain(63)));
    capture.localNodeId = 0xFFC0;
    const std::string text = busText(buildBusView(capture, ""), 60);
    std::istringstream lines(text);
    size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_LE(line.size(), 60u) << line;
    // Past five levels a line keeps the fifth's indent and names its level.
    EXPECT_THAT(text, HasSubstr("\n                    (level 62) |__ Port 0: PHY 0  link on"));
    EXPECT_LT(count, 63u * 6); // two lines in the tree, three in the list, at most
}

class TopologyTool : public ::testing::Test {
protected:
    using Outcome = rombus_test::Outcome;

    Outcome rombus(const std::string& arguments, const std::string& environment = "") {
        return rombus_test::runCommand(folder_,
                                       environment + " '" + ROMBUS_BINARY + "' " + arguments);
    }

    std::string savedBus(unsigned gap) {
        lib1394::BusCapture capture;
        capture.name = "card 0";
        std::vector<PhySelfId> phys = rombus_test::selfIdsOf(rombus_test::chain(3));
        for (PhySelfId& phy : phys)
            phy.gapCount = gap;
        capture.topology = encodeTopologyMap(2, phys);
        capture.localNodeId = capture.rootNodeId = capture.irmNodeId = 0xFFC2;
        return folder_.write("card0.bus", formatBusFile(capture));
    }

    rombus_test::TestFolder folder_;
};

TEST_F(TopologyTool, SavedBusesReadBackWithTheirExitStatus) {
    const Outcome healthy = rombus("topology " + savedBus(7));
    EXPECT_EQ(healthy.status, 0) << healthy.err;
    EXPECT_THAT(healthy.out, HasSubstr("|__ Port 0: PHY 1  link on"));
    EXPECT_THAT(healthy.out, HasSubstr("Health: no problem found"));
    const Outcome mismatch = rombus("--format json topology " + savedBus(63));
    EXPECT_EQ(mismatch.status, 0) << "a larger gap count is a notice only";
    rombus_test::expectValidReport(folder_.write("bus.json", mismatch.out),
                                   "rombus-bus.schema.json");
    EXPECT_EQ(nlohmann::json::parse(mismatch.out)["buses"][0]["health"][0]["check"],
              "gap-count-large");
    const Outcome dot = rombus("topology --graph dot " + savedBus(7));
    EXPECT_THAT(dot.out, HasSubstr("graph firewire {"));
    // Bad input names the file and the line; a missing dot program is said, not crashed on.
    const std::string junk = folder_.write("junk.bus", "rombus-bus 1\ntopology zz\n");
    const Outcome bad = rombus("topology " + junk + " " + savedBus(7));
    EXPECT_EQ(bad.status, 2);
    EXPECT_THAT(bad.err, HasSubstr(junk + ": line 2: 'zz' is not a quadlet"));
    EXPECT_THAT(bad.out, HasSubstr("Bus card 0"));
    const Outcome noDot = rombus("topology --graph svg " + savedBus(7), "PATH=/nonexistent");
    EXPECT_EQ(noDot.status, 2);
    EXPECT_THAT(noDot.err, HasSubstr("cannot run Graphviz's dot program"));
    const Outcome noFiles = rombus("topology --dev " + folder_.path().string() + "/none");
    EXPECT_EQ(noFiles.status, 2);
    EXPECT_THAT(noFiles.err, HasSubstr("no FireWire device files"));
}

} // namespace
} // namespace rombus
