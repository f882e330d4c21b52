#include "inspect/model/BusView.h"
#include "rombus_support/BusShapes.h"

#include <gtest/gtest.h>

namespace rombus {
namespace {

using rombus_test::chain;
using rombus_test::selfIdsOf;
using rombus_test::Shape;
using rombus_test::star;

lib1394::BusCapture captureOf(const std::vector<PhySelfId>& phys, unsigned local) {
    lib1394::BusCapture capture;
    capture.name = "card 0";
    capture.topology = encodeTopologyMap(1, phys);
    capture.localNodeId = 0xFFC0 | local;
    capture.rootNodeId = 0xFFC0 | static_cast<uint32_t>(phys.size() - 1);
    capture.irmNodeId = capture.rootNodeId;
    capture.bmNodeId = 0xFFFF;
    return capture;
}

std::vector<unsigned> childIds(const BusView& view, unsigned index) {
    std::vector<unsigned> ids;
    for (const auto& [port, child] : view.phys[index].children)
        ids.push_back(view.phys[child].self.phyId);
    return ids;
}

TEST(BusView, ChainRebuildsWithPathSpeedsOfTheSlowestPhy) {
    std::vector<PhySelfId> phys = selfIdsOf(chain(4));
    phys[1].speed = 0; // an S100 PHY in the middle caps every path through it
    const BusView view = buildBusView(captureOf(phys, 3), "");
    ASSERT_TRUE(view.treeOk()) << view.treeTrouble;
    EXPECT_EQ(childIds(view, 3), std::vector<unsigned>{2});
    EXPECT_EQ(childIds(view, 1), std::vector<unsigned>{0});
    EXPECT_EQ(view.phys[0].parent, 1u);
    EXPECT_EQ(view.phys[0].parentPort, 0u);
    EXPECT_EQ(view.phys[1].parentPort, 1u);
    EXPECT_FALSE(view.phys[3].parent);
    EXPECT_EQ(view.maxHops, 3u);
    EXPECT_EQ(view.phys[2].pathSpeed, 2u);
    EXPECT_EQ(view.phys[1].pathSpeed, 0u);
    EXPECT_EQ(view.phys[0].pathSpeed, 0u);
    EXPECT_EQ(view.phys[0].hops, 3u);
    EXPECT_EQ(view.root, 3u);
    EXPECT_EQ(view.irm, 3u);
    EXPECT_FALSE(view.busManager);
    // Seen from the far end the same S100 PHY is on every path but the first hop's.
    const BusView fromLeaf = buildBusView(captureOf(phys, 0), "");
    EXPECT_EQ(fromLeaf.phys[3].pathSpeed, 0u);
    EXPECT_EQ(fromLeaf.phys[3].hops, 3u);
    EXPECT_EQ(fromLeaf.phys[0].pathSpeed, 2u);
}

TEST(BusView, SixteenPortStarAndLargestBus) {
    const BusView view = buildBusView(captureOf(selfIdsOf(star(16)), 0), "");
    ASSERT_TRUE(view.treeOk()) << view.treeTrouble;
    EXPECT_EQ(view.map.selfIdCount, 16u + 3u); // the hub sends two extended packets
    ASSERT_EQ(view.phys[16].children.size(), 16u);
    EXPECT_EQ(view.phys[16].children[15], (std::pair<unsigned, unsigned>{15, 15}));
    EXPECT_EQ(view.maxHops, 2u);
    EXPECT_EQ(view.phys[15].hops, 2u);
    // A lone PHY: no hops, and 63 is its table's gap count.
    const BusView lone = buildBusView(captureOf(selfIdsOf(Shape()), 0), "");
    ASSERT_TRUE(lone.treeOk()) << lone.treeTrouble;
    EXPECT_EQ(lone.maxHops, 0u);
    EXPECT_EQ(lone.phys[0].hops, 0u);
    EXPECT_TRUE(lone.health.empty());
    // A chain of 63 PHYs: the most a bus holds, 62 hops from end to end.
    const BusView longest = buildBusView(captureOf(selfIdsOf(chain(63)), 62), "");
    ASSERT_TRUE(longest.treeOk()) << longest.treeTrouble;
    EXPECT_EQ(longest.maxHops, 62u);
    EXPECT_EQ(longest.phys[0].hops, 62u);
    EXPECT_EQ(optimumGapCount(62), 63u);
    EXPECT_EQ(optimumGapCount(15), 40u);
    EXPECT_EQ(optimumGapCount(1), 5u);
}

TEST(BusView, PortStatesThatFormNoTreeAreRefused) {
    const auto troubleOf = [](std::vector<PhySelfId> phys) {
        return buildBusView(captureOf(phys, 0), "").treeTrouble;
    };
    std::vector<PhySelfId> phys = selfIdsOf(chain(3));
    // A loop: PHY 0 claims PHY 1 as its child, as PHY 1 claims PHY 0.
    std::vector<PhySelfId> loop = phys;
    loop[0].ports[1] = PortState::Child;
    EXPECT_NE(troubleOf(loop).find("PHY 0 has 1 child ports, but only 0"), std::string::npos);
    // A self-ID lost: the root claims two children, one PHY waits.
    std::vector<PhySelfId> lost = phys;
    lost[2].ports[1] = PortState::Child;
    EXPECT_NE(troubleOf(lost).find("a child's self-ID is missing"), std::string::npos);
    // Two roots, two parents, a root with a parent, PHYs left waiting.
    std::vector<PhySelfId> twoRoots = phys;
    twoRoots[1].ports[1] = PortState::NotConnected;
    EXPECT_NE(troubleOf(twoRoots).find("two roots"), std::string::npos);
    std::vector<PhySelfId> twoParents = phys;
    twoParents[0].ports[1] = PortState::Parent;
    EXPECT_NE(troubleOf(twoParents).find("2 parent ports"), std::string::npos);
    std::vector<PhySelfId> noRoot = phys;
    noRoot[2].ports[1] = PortState::Parent;
    EXPECT_NE(troubleOf(noRoot).find("no PHY is the root"), std::string::npos);
    std::vector<PhySelfId> orphan = selfIdsOf(star(2));
    orphan[2].ports[1] = PortState::NotConnected;
    EXPECT_NE(troubleOf(orphan).find("PHYs 0 wait for a parent"), std::string::npos);
    // Without a tree there are no paths.
    EXPECT_FALSE(buildBusView(captureOf(loop, 2), "").phys[2].pathSpeed);
}

} // namespace
} // namespace rombus
