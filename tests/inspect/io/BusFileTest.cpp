#include "inspect/io/BusFile.h"
#include "rombus_support/TestFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace rombus {
namespace {

lib1394::BusCapture sampleCapture() {
    lib1394::BusCapture capture;
    capture.name = "card 1";
    capture.generation = 0x1A;
    capture.localNodeId = 0xFFC0;
    capture.rootNodeId = 0xFFC2;
    capture.irmNodeId = 0xFFC2;
    capture.bmNodeId = 0xFFFF;
    capture.filesKnown = true;
    for (uint32_t i = 0; i < 11; ++i)
        capture.topology.push_back(0x80000000u + i);
    capture.phys[0].deviceFile = "/dev/fw1";
    capture.phys[0].guid = 0x0800280000001394;
    capture.phys[0].rom = {0x04, 0x04, 0x12, 0x34, '1', '3', '9', '4'};
    capture.phys[0].identity = {true, true, 0x08002A, 0x412345, ""};
    capture.phys[1].identity = {true, false, 0, 0, "no reply within 100 ms"};
    return capture;
}

TEST(BusFile, RoundTripKeepsEveryField) {
    const lib1394::BusCapture saved = sampleCapture();
    const std::string text = formatBusFile(saved);
    // Eight quadlets a line: eleven make two topology lines.
    EXPECT_NE(text.find("topology 80000000 80000001"), std::string::npos);
    EXPECT_NE(text.find("\ntopology 80000008 80000009 8000000a\n"), std::string::npos);
    EXPECT_NE(text.find("phy 0 file /dev/fw1 guid 0800280000001394\n"), std::string::npos);
    EXPECT_NE(text.find("nodes local ffc0 root ffc2 irm ffc2 bm ffff\n"), std::string::npos);
    lib1394::BusCapture read;
    std::string error;
    ASSERT_TRUE(parseBusFile(text, read, error)) << error;
    EXPECT_EQ(read.name, "card 1");
    EXPECT_EQ(read.generation, 0x1Au);
    EXPECT_EQ(read.rootNodeId, 0xFFC2u);
    EXPECT_EQ(read.bmNodeId, 0xFFFFu);
    EXPECT_TRUE(read.filesKnown);
    EXPECT_EQ(read.topology, saved.topology);
    EXPECT_EQ(read.phys.at(0).rom, saved.phys.at(0).rom);
    EXPECT_EQ(read.phys.at(0).guid, 0x0800280000001394u);
    EXPECT_EQ(read.phys.at(0).identity.productId, 0x412345u);
    EXPECT_FALSE(read.phys.at(1).identity.answered);
    EXPECT_EQ(read.phys.at(1).identity.trouble, "no reply within 100 ms");
}

TEST(BusFile, MalformedFilesNameTheLine) {
    const auto errorOf = [](const std::string& text) {
        lib1394::BusCapture capture;
        std::string error;
        EXPECT_FALSE(parseBusFile(text, capture, error));
        return error;
    };
    EXPECT_EQ(errorOf(""), "not a bus file: no 'rombus-bus' line");
    EXPECT_EQ(errorOf("040427f7 31333934\n"),
              "line 1: not a bus file: it must begin with 'rombus-bus 1'");
    EXPECT_EQ(errorOf("rombus-bus 1\ntopology 1ffffffff\n"),
              "line 2: '1ffffffff' is not a quadlet of at most 8 hex digits");
    EXPECT_EQ(errorOf("# saved\nrombus-bus 1\nphy 63 file /dev/fw0 guid 1\n"),
              "line 3: 'phy' takes a physical id from 0 to 62 and what is known of it");
    EXPECT_EQ(errorOf("rombus-bus 1\nnodes local ffc0\n"),
              "line 2: 'nodes' takes local, root, irm and bm, each with a node id");
    EXPECT_EQ(errorOf("rombus-bus 1\nsweep\n"), "line 2: unknown line 'sweep'");
    // No map grows past its bound, however many lines add to it.
    std::string endless = "rombus-bus 1\n";
    for (size_t i = 0; i <= MaxBusFileQuadlets / 8; ++i)
        endless += "topology 0 0 0 0 0 0 0 0\n";
    EXPECT_NE(errorOf(endless).find("more than 1024 quadlets"), std::string::npos);
    std::string bigRom = "rombus-bus 1\n";
    for (size_t i = 0; i <= 256 / 8; ++i)
        bigRom += "phy 2 rom 0 0 0 0 0 0 0 0\n";
    EXPECT_NE(errorOf(bigRom).find("more than 256 quadlets"), std::string::npos);
}

TEST(BusFile, SavedAsCardFilesKeptUnlessOverwritten) {
    const rombus_test::TestFolder folder;
    const lib1394::BusCapture saved = sampleCapture();
    EXPECT_TRUE(saveBusFiles({saved}, folder.path().string(), false).empty());
    const std::filesystem::path file = folder.path() / "card1.bus";
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    EXPECT_EQ(content.str(), formatBusFile(saved));
    // The same bytes again are no problem; other bytes are kept and said so.
    EXPECT_TRUE(saveBusFiles({saved}, folder.path().string(), false).empty());
    lib1394::BusCapture later = saved;
    later.generation = 0x1B;
    const std::vector<std::string> kept = saveBusFiles({later}, folder.path().string(), false);
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_NE(kept[0].find(file.string() + ": "), std::string::npos);
    EXPECT_NE(kept[0].find("--overwrite"), std::string::npos);
    EXPECT_TRUE(saveBusFiles({later}, folder.path().string(), true).empty());
}

} // namespace
} // namespace rombus
