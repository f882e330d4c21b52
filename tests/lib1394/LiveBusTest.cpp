#include "lib1394/LiveBus.h"
#include "lib1394/ImageFile.h"
#include "lib1394/KernelCopy.h"
#include "lib1394/TopologyMap.h"
#include "rombus_support/FwKernel.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/TypicalRom.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace {

using namespace std::chrono_literals;
using rombus_test::FwKernel;

// A stand-in kernel whose device files lie in the test's own folder.
struct LiveBusRig {
    rombus_test::TestFolder folder;
    FwKernel kernel{folder.path()};

    std::string path(const std::string& file) const { return (folder.path() / file).string(); }
};

FwKernel::Node node(unsigned card, unsigned phyId, std::vector<uint8_t> rom, bool local = false) {
    FwKernel::Node node;
    node.card = card;
    node.phyId = phyId;
    node.local = local;
    node.kernelRom = rom;
    node.rom = std::move(rom);
    return node;
}

const lib1394::RomNode* find(const lib1394::LiveView& view, const std::string& label) {
    for (const auto& port : view.ports)
        for (const auto& node : port.nodes)
            if (node.label == label)
                return &node;
    return nullptr;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

// The node of a device file is not accessible, and its notes tell why.
void expectUnread(const lib1394::LiveView& view, const std::string& path,
                  const std::string& reason) {
    const lib1394::RomNode* node = find(view, path);
    ASSERT_NE(node, nullptr) << path;
    EXPECT_FALSE(node->accessible) << path;
    EXPECT_NE(joined(node->notes).find(reason), std::string::npos) << joined(node->notes);
}

// The offset and kind of every difference, a line each.
std::string summary(const std::vector<lib1394::RomDifference>& differences) {
    std::string text;
    for (const auto& difference : differences)
        text += std::to_string(difference.offset) + " " + difference.kind + "\n";
    return text;
}

// How often each ROM quadlet was asked for.
std::map<unsigned, unsigned> romReads(const FwKernel::Node& node) {
    std::map<unsigned, unsigned> reads;
    for (const fw_cdev_send_request& request : node.requests)
        if (request.offset >= FwKernel::RomBase && request.offset < FwKernel::TopologyBase)
            ++reads[static_cast<unsigned>((request.offset - FwKernel::RomBase) / 4)];
    return reads;
}

TEST(LiveBus, ReadsEveryNodeFromTheDeviceBesideTheKernelsCopy) {
    LiveBusRig rig;
    const auto local = rombus_bench::typicalRom(0x0030E000000000A0ull);
    const auto far = rombus_bench::typicalRom(0x0030E000000000A2ull);
    const auto near = rombus_bench::typicalRom(0x0030E000000000A1ull);
    rig.kernel.add("fw0", node(0, 0, local, true));
    // The kernel kept only the first ten quadlets of fw1's ROM.
    FwKernel::Node& cut = rig.kernel.add("fw1", node(0, 2, far));
    cut.kernelRom.resize(40);
    FwKernel::Node& slow = rig.kernel.add("fw2", node(0, 1, near));
    slow.speed = SCODE_100;
    FwKernel::Node hidden = node(0, 3, {});
    hidden.speed = SCODE_200;
    rig.kernel.addWithoutFile(hidden);
    FwKernel::Node off = node(0, 4, {});
    off.linkActive = false;
    rig.kernel.addWithoutFile(off);
    rig.kernel.add("fw10", node(1, 0, local, true));

    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());

    EXPECT_EQ(view.deviceFiles, 4u);
    ASSERT_EQ(view.ports.size(), 2u);
    EXPECT_EQ(view.ports[0].text, "card 0");
    ASSERT_EQ(view.ports[0].nodes.size(), 3u);
    // Nodes follow their physical ids, not their file numbers.
    EXPECT_EQ(view.ports[0].nodes[1].label, rig.path("fw2"));
    EXPECT_EQ(view.ports[0].nodes[2].label, rig.path("fw1"));
    EXPECT_EQ(view.ports[1].nodes.at(0).label, rig.path("fw10"));
    const lib1394::RomNode& read = view.ports[0].nodes[2];
    EXPECT_TRUE(read.accessible);
    EXPECT_EQ(read.rom, far);
    EXPECT_EQ(read.kernelRom, std::vector<uint8_t>(far.begin(), far.begin() + 40));
    EXPECT_EQ(read.guid, 0x0030E000000000A2ull);
    EXPECT_TRUE(view.ports[0].nodes[0].local);
    EXPECT_FALSE(read.local);
    EXPECT_TRUE(read.notes.empty()) << joined(read.notes);
    // Quadlet reads only; every quadlet once, but the first six, read again at the end.
    for (const fw_cdev_send_request& request : cut.requests) {
        EXPECT_EQ(request.tcode, unsigned{TCODE_READ_QUADLET_REQUEST});
        EXPECT_EQ(request.length, 4u);
    }
    for (const auto& [quadlet, reads] : romReads(cut))
        EXPECT_EQ(reads, quadlet < 6 ? 2u : 1u) << "quadlet " << quadlet;

    const std::string notes = joined(view.notes);
    EXPECT_NE(notes.find("card 0: generation 0; local node 0 (" + rig.path("fw0") +
                         "), root node 4, isochronous resource manager node 4, bus manager node 0"),
              std::string::npos)
        << notes;
    EXPECT_NE(notes.find("card 0: the topology map (generation 0) lists 5 nodes: 0 S400, 1 S100, "
                         "2 S400, 3 S200, 4 S400 link off\n"),
              std::string::npos)
        << notes;
    EXPECT_NE(notes.find("card 0: node 3 (S200) has no device file"), std::string::npos);
    EXPECT_EQ(notes.find("node 4 (S400) has no device file"), std::string::npos);
    EXPECT_NE(notes.find("card 1: the topology map (generation 0) lists 1 nodes: 0 S400\n"),
              std::string::npos);
}

TEST(LiveBus, RidesOutBusyAndSilentNodesBootingNodesResetsAndChanges) {
    LiveBusRig rig;
    const auto rom = rombus_bench::typicalRom();
    const auto changed = rombus_bench::typicalRom(0x0030E000000000FFull);
    FwKernel::Node& flaky = rig.kernel.add("fw0", node(0, 0, rom, true));
    flaky.busy = {{7, 2}, {12, 4}};
    flaky.silent = {{9, 1}};
    flaky.bootingReads = 2;
    FwKernel::Node& reset = rig.kernel.add("fw1", node(0, 1, rom));
    reset.resetAfter = 5;
    // The kernel may tell the reset after the response it failed, once the node was asked anew.
    FwKernel::Node& lateReset = rig.kernel.add("fw3", node(0, 3, rom));
    lateReset.resetAfter = 20;
    lateReset.resetEventLate = true;
    FwKernel::Node& changing = rig.kernel.add("fw2", node(0, 2, rom));
    changing.changeAfter = 8;
    changing.changedRom = changed;

    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());

    const lib1394::RomNode* first = find(view, rig.path("fw0"));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->rom, rom);
    EXPECT_TRUE(first->notes.empty()) << joined(first->notes);
    // Two pauses for the booting node and one response awaited in vain.
    EXPECT_GE(rig.kernel.elapsed(), 3s);

    const lib1394::RomNode* second = find(view, rig.path("fw1"));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->rom, rom);
    EXPECT_EQ(rig.kernel.generation(0), 2u);
    EXPECT_EQ(reset.requests.back().generation, 1u);
    EXPECT_NE(joined(second->notes).find("read anew after 1 bus resets and 0 changes"),
              std::string::npos)
        << joined(second->notes);

    const lib1394::RomNode* fourth = find(view, rig.path("fw3"));
    ASSERT_NE(fourth, nullptr);
    EXPECT_EQ(fourth->rom, rom);
    EXPECT_EQ(joined(fourth->notes),
              rig.path("fw3") +
                  ": the ROM was read anew after 1 bus resets and 0 changes of its first quadlets "
                  "while it was read\n");

    const lib1394::RomNode* third = find(view, rig.path("fw2"));
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(third->rom, changed);
    EXPECT_EQ(third->guid, 0x0030E000000000FFull);
    EXPECT_NE(joined(third->notes).find("after 0 bus resets and 1 changes"), std::string::npos)
        << joined(third->notes);
    // The bus resets fw1 and fw3 met are in the state the card shows.
    EXPECT_NE(joined(view.notes).find("card 0: generation 2;"), std::string::npos)
        << joined(view.notes);
}

// A bus reset before the first quadlet came, with no reading anew left: nothing is kept.
TEST(LiveBus, SaysWhenTheLastReadingKeptNothing) {
    LiveBusRig rig;
    rig.kernel.add("fw0", node(0, 0, rombus_bench::typicalRom(), true)).resetAfter = 0;
    lib1394::LiveLimits limits;
    limits.restarts = 0;
    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup(limits));
    const lib1394::RomNode* reset = find(view, rig.path("fw0"));
    ASSERT_NE(reset, nullptr);
    EXPECT_FALSE(reset->accessible);
    EXPECT_TRUE(reset->rom.empty());
    EXPECT_EQ(joined(reset->notes), rig.path("fw0") +
                                        ": the ROM was read anew after 0 bus resets and 0 changes "
                                        "of its first quadlets while it was read; the last "
                                        "reading read nothing, so the ROM was not read\n");
}

// Every ROM typed from a published layout, read live byte for byte whatever the bus does
// meanwhile: busy and silent requests and a node still booting, a bus reset, a reset told late.
TEST(LiveBus, ReadsEveryGoldenRomByteForByteUnderEachFault) {
    for (const auto& file : std::filesystem::directory_iterator(ROMBUS_SOURCE_DIR "/tests/roms")) {
        if (file.path().extension() != ".hex")
            continue;
        SCOPED_TRACE(file.path().filename().string());
        const lib1394::ImageFile golden = lib1394::readImageFile(file.path().string());
        ASSERT_TRUE(golden.ok()) << golden.error;
        LiveBusRig rig;
        rig.kernel.add("fw0", node(0, 0, golden.rom, true));
        FwKernel::Node& flaky = rig.kernel.add("fw1", node(0, 1, golden.rom));
        flaky.busy = {{0, 2}, {5, 1}};
        flaky.silent = {{1, 1}};
        flaky.bootingReads = 1;
        rig.kernel.add("fw2", node(0, 2, golden.rom)).resetAfter = 3;
        FwKernel::Node& late = rig.kernel.add("fw3", node(0, 3, golden.rom));
        late.resetAfter = 4;
        late.resetEventLate = true;

        const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());

        for (const char* name : {"fw0", "fw1", "fw2", "fw3"}) {
            const lib1394::RomNode* read = find(view, rig.path(name));
            ASSERT_NE(read, nullptr) << name;
            EXPECT_TRUE(read->accessible) << name;
            EXPECT_EQ(read->rom, golden.rom) << name << ": " << joined(read->notes);
        }
    }
}

TEST(LiveBus, TellsWhatKeptEachNodeFromBeingReadAndReadsTheOthers) {
    LiveBusRig rig;
    const auto rom = rombus_bench::typicalRom();
    rig.kernel.add("fw0", node(0, 0, rom, true)).openError = EACCES;
    rig.kernel.add("fw1", node(0, 1, rom)).vanishAfter = 3;
    // The device answers nothing past its 12th quadlet, though its directories point further.
    FwKernel::Node& shortRom = rig.kernel.add("fw2", node(0, 2, rom));
    shortRom.rom.resize(48);
    rig.kernel.add("fw3", node(0, 3, rom)).bootingReads = 100;
    rig.kernel.add("fw4", node(0, 4, rom));

    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());

    const lib1394::RomNode* denied = find(view, rig.path("fw0"));
    ASSERT_NE(denied, nullptr);
    EXPECT_FALSE(denied->accessible);
    EXPECT_EQ(joined(denied->notes), rig.path("fw0") +
                                         ": permission denied; reading a node's ROM takes root, or "
                                         "membership of the group that owns " +
                                         rig.path("fw0") + "\n");
    // Its card and node unknown, it stays on a port of its own, named by its file.
    ASSERT_EQ(view.ports.size(), 2u);
    EXPECT_EQ(view.ports[1].text, rig.path("fw0"));
    ASSERT_EQ(view.ports[1].nodes.size(), 1u);
    EXPECT_EQ(view.ports[1].nodes[0].label, rig.path("fw0"));
    EXPECT_EQ(view.ports[1].nodes[0].guid, 0u);

    const lib1394::RomNode* gone = find(view, rig.path("fw1"));
    ASSERT_NE(gone, nullptr);
    EXPECT_FALSE(gone->accessible);
    EXPECT_NE(joined(gone->notes)
                  .find(rig.path("fw1") + ": the node left the bus while its ROM "
                                          "was read, at quadlet 3 (FFFFF000040Ch)"),
              std::string::npos)
        << joined(gone->notes);

    const lib1394::RomNode* cut = find(view, rig.path("fw2"));
    ASSERT_NE(cut, nullptr);
    EXPECT_TRUE(cut->accessible);
    EXPECT_EQ(cut->rom, std::vector<uint8_t>(rom.begin(), rom.begin() + 48));
    EXPECT_NE(joined(cut->notes).find("answered address error; the rest of it was not read"),
              std::string::npos)
        << joined(cut->notes);

    expectUnread(view, rig.path("fw3"), "still 0 after 5 reads 1000 ms apart");

    const lib1394::RomNode* fine = find(view, rig.path("fw4"));
    ASSERT_NE(fine, nullptr);
    EXPECT_EQ(fine->rom, rom);
    // Without its local node's file the card's topology map stays unread, and says why.
    EXPECT_NE(joined(view.notes)
                  .find("card 0: the topology map was not read: no device file of "
                        "the local node could be read"),
              std::string::npos)
        << joined(view.notes);
}

// A ROM whose root directory reaches a leaf at quadlet 250 that claims 20 quadlets, and holds an
// entry pointing far past the ROM; the device answers reads well past 256 quadlets.
std::vector<uint32_t> romPastTheBound() {
    std::vector<uint32_t> quadlets(300, 0x5A5A5A5A);
    quadlets[0] = 0x04040000;
    quadlets[1] = 0x31333934;
    quadlets[2] = 0xE0008000;
    quadlets[3] = 0x0030E000;
    quadlets[4] = 0x00000001;
    quadlets[5] = 0x00020000;             // root directory, two entries
    quadlets[6] = 0xD1FFFFFF;             // a unit directory 16 M quadlets away
    quadlets[7] = 0x81000000 | (250 - 7); // a descriptor leaf at quadlet 250
    quadlets[250] = 20u << 16;            // that runs past quadlet 255
    return quadlets;
}

TEST(LiveBus, ReadsNoQuadletPastTheRomsBoundAndShowsWhatTheKernelDropped) {
    LiveBusRig rig;
    const std::vector<uint32_t> quadlets = romPastTheBound();
    // What the kernel keeps: the bad entry and the bad header zeroed, nothing past the header.
    std::vector<uint32_t> kept(quadlets.begin(), quadlets.begin() + 251);
    std::fill(kept.begin() + 8, kept.end(), 0);
    kept[6] = 0;
    FwKernel::Node device = node(0, 0, rombus_test::busOrderBytes(quadlets), true);
    device.kernelRom = rombus_test::busOrderBytes(kept);
    const FwKernel::Node& served = rig.kernel.add("fw0", device);

    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());

    const lib1394::RomNode* read = find(view, rig.path("fw0"));
    ASSERT_NE(read, nullptr);
    const std::vector<uint32_t> bound(quadlets.begin(), quadlets.begin() + 256);
    // Quadlets 8 to 249 no block reaches: the device is not asked for them.
    std::vector<uint32_t> expected = bound;
    std::fill(expected.begin() + 8, expected.begin() + 250, 0);
    EXPECT_EQ(read->rom, rombus_test::busOrderBytes(expected));
    const auto reads = romReads(served);
    ASSERT_FALSE(reads.empty());
    EXPECT_EQ(reads.rbegin()->first, 255u);
    EXPECT_EQ(reads.count(8), 0u);
    EXPECT_NE(joined(read->notes)
                  .find("the block at quadlet 250 (FFFFF00007E8h) claims 20 "
                        "quadlets, past the 256 of a Configuration ROM"),
              std::string::npos)
        << joined(read->notes);

    const auto differences = lib1394::compareKernelCopy(read->rom, read->kernelRom);
    ASSERT_EQ(differences.size(), 3u);
    EXPECT_EQ(summary(differences), "24 kernel-zeroed\n1000 kernel-zeroed\n1004 kernel-missing\n");
    EXPECT_NE(differences[0].text.find("(device D1FFFFFFh, kernel 00000000h)"), std::string::npos)
        << differences[0].text;
    EXPECT_TRUE(differences[2].text.starts_with("quadlets 251 to 255 (offsets 3ECh to 3FCh) are "
                                                "on the device but past the end of the kernel's "
                                                "copy"))
        << differences[2].text;
}

TEST(LiveBus, KeepsEveryNodeAndTheWholeBusWithinTheirTime) {
    LiveBusRig rig;
    const auto rom = rombus_bench::typicalRom();
    lib1394::LiveLimits limits;
    limits.attempts = 1000;
    limits.node = 2000ms;
    limits.bus = 5000ms;
    rig.kernel.add("fw0", node(0, 0, rom, true)).alwaysBusy = true;
    rig.kernel.add("fw1", node(0, 1, rom)).silent = {{0, 1000}};
    rig.kernel.add("fw2", node(0, 2, rom)).alwaysBusy = true;
    rig.kernel.add("fw3", node(0, 3, rom));

    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup(limits));

    EXPECT_GE(rig.kernel.elapsed(), 5000ms);
    EXPECT_LE(rig.kernel.elapsed(), 5050ms);
    for (const char* file : {"fw0", "fw1", "fw2"})
        expectUnread(view, rig.path(file), "the time for the node was spent");
    expectUnread(view, rig.path("fw3"),
                 rig.path("fw3") + ": not read: the 5000 ms the whole bus may take were spent\n");
}

// Files of nodes gone but not yet removed can make a card show more files than a bus has nodes.
TEST(LiveBus, KeepsAtMost63NodesACard) {
    LiveBusRig rig;
    const auto rom = rombus_bench::typicalRom();
    for (unsigned i = 0; i < 65; ++i)
        rig.kernel.add("fw" + std::to_string(i), node(0, i % 63, rom, i == 0));
    const lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());
    ASSERT_EQ(view.ports.size(), 1u);
    EXPECT_EQ(view.ports[0].nodes.size(), 63u);
    const std::string notes = joined(view.notes);
    EXPECT_NE(notes.find("card 0: " + rig.path("fw62") +
                         " not read: the card already holds 63 "
                         "nodes, the most a bus has\n"),
              std::string::npos)
        << notes;
    // In the order of their physical ids fw63 and fw64 come second and fourth.
    EXPECT_NE(notes.find("card 0: " + rig.path("fw61") + " not read"), std::string::npos);
    EXPECT_EQ(view.ports[0].nodes[3].label, rig.path("fw64"));
}

TEST(LiveBus, FindsNoDeviceFilesInAnEmptyOrMissingFolder) {
    LiveBusRig rig;
    rig.folder.write("fw1.0", "");
    rig.folder.write("fwx", "");
    lib1394::LiveView view = lib1394::LiveBus::read(rig.kernel.setup());
    EXPECT_EQ(view.deviceFiles, 0u);
    EXPECT_TRUE(view.ports.empty());
    EXPECT_TRUE(view.notes.empty());

    lib1394::LiveSetup setup = rig.kernel.setup();
    setup.folder = rig.path("missing");
    view = lib1394::LiveBus::read(setup);
    EXPECT_EQ(view.deviceFiles, 0u);
    ASSERT_EQ(view.notes.size(), 1u);
    EXPECT_EQ(view.notes[0].rfind(setup.folder + ": cannot be listed: ", 0), 0u) << view.notes[0];
}

// The machine's own device, opened on a regular file: the kernel's ioctl refuses it, as it would
// any file that is no FireWire device.
TEST(LiveBus, NamesAFileThatIsNoFireWireDevice) {
    rombus_test::TestFolder folder;
    const std::string path = folder.write("fw0", "not a device");
    lib1394::LiveSetup setup;
    setup.folder = folder.path().string();
    const lib1394::LiveView view = lib1394::LiveBus::read(setup);
    ASSERT_EQ(view.ports.size(), 1u);
    ASSERT_EQ(view.ports[0].nodes.size(), 1u);
    EXPECT_FALSE(view.ports[0].nodes[0].accessible);
    EXPECT_EQ(joined(view.ports[0].nodes[0].notes),
              path + ": not a FireWire device file (the kernel refused its requests)\n");
}

TEST(KernelCopy, TellsRunsOfEachKindOfDifference) {
    using rombus_test::busOrderBytes;
    const auto device = busOrderBytes({0x0404ABCD, 0x11, 0x22, 0x33, 0x44, 0x55, 0});
    EXPECT_TRUE(lib1394::compareKernelCopy(device, device).empty());

    const auto differences =
        lib1394::compareKernelCopy(device, busOrderBytes({0x0404ABCD, 0, 0, 0x99, 0x44}));
    ASSERT_EQ(differences.size(), 3u);
    // Past the kernel's end only the 0x55 counts: a trailing 0 is what a gap reads as.
    // Quadlets 1 and 2 are no entry or header the kernel zeroes: it never reached them.
    EXPECT_EQ(summary(differences), "4 kernel-unreached\n12 changed\n20 kernel-missing\n");
    EXPECT_TRUE(differences[0].text.starts_with("quadlets 1 to 2 (offsets 004h to 008h) are on "
                                                "the device but 0 in the kernel's copy, whose "
                                                "walk from the root directory did not reach them"))
        << differences[0].text;
    EXPECT_NE(differences[1].text.find("(device 00000033h, kernel 00000099h)"), std::string::npos);

    // The root directory points to a leaf at quadlet 8 and to a unit directory far past the ROM:
    // the kernel zeroes that entry; it left the leaf as 0 without reaching it, though its second
    // quadlet would be a header that runs past the ROM.
    const auto walked = busOrderBytes({0x04040000, 0x31333934, 0, 0, 0, 0x00020000, 0x81000002,
                                       0xD1FFFFFF, 0x00010000, 0x41424344, 0x77});
    auto kept = walked;
    std::fill(kept.begin() + 28, kept.begin() + 40, 0);
    EXPECT_EQ(summary(lib1394::compareKernelCopy(walked, kept)),
              "28 kernel-zeroed\n32 kernel-unreached\n");

    const auto longer =
        lib1394::compareKernelCopy(busOrderBytes({0x0404ABCD}), busOrderBytes({0x0404ABCD, 7, 0}));
    EXPECT_EQ(summary(longer), "4 device-missing\n");
}

TEST(TopologyMap, TakesNodesFromTheFirstSelfIdPacketOfEach) {
    // Node 0: link on, the 1394b speed code, one extended packet; node 1: link off, S400.
    const std::vector<uint32_t> map = {0x00050000, 7,          0x00020003,
                                       0x8040C001, 0x80800000, 0x81008000};
    const auto parsed = lib1394::parseTopologyMap(map);
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(parsed->generation, 7u);
    EXPECT_EQ(parsed->nodeCount, 2u);
    ASSERT_EQ(parsed->nodes.size(), 2u);
    EXPECT_EQ(parsed->nodes[0].phyId, 0u);
    EXPECT_EQ(lib1394::speedName(parsed->nodes[0].speed), "S800 or faster (1394b)");
    EXPECT_TRUE(parsed->nodes[0].linkActive);
    EXPECT_EQ(parsed->nodes[1].phyId, 1u);
    EXPECT_FALSE(parsed->nodes[1].linkActive);
    EXPECT_EQ(lib1394::speedName(parsed->nodes[1].speed), "S400");
    // One self-ID packet fewer than counted.
    EXPECT_FALSE(lib1394::parseTopologyMap({map.begin(), map.end() - 1}).has_value());
}

} // namespace
